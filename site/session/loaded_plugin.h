#pragma once

#include "refhost/base/plugin_library.h"
#include "refhost/devices/contexts.h"
#include "site/base/names.h"
#include "site/session/options.h"

#include <memory>
#include <string>

namespace corvane::site {

// The files that the options name, or those that were built or installed beside the program.
std::string PluginFile(const SOptions& options);
std::string ModelListFile(const SOptions& options);

// What is installed, or was built, as data of the programs.
std::string SharedPath(const std::string& name);

// Reads the model list that the options name. Throws CFailure.
boost::shared_ptr<CVornModelList> OpenModelList(const SOptions& options);

// The numbers of all its models.
Texts NumbersOf(const CVornModelList& models);

// Throws CFailure when the text is no device's address.
void RequireAddress(const std::string& text);

// The plug-in with its model list and its device handler, as the recorder keeps it.
class CLoadedPlugin {
public:
    // Throws CFailure.
    explicit CLoadedPlugin(const SOptions& options);
    ~CLoadedPlugin();

    boost::shared_ptr<CVornModelList> models() const { return models_; }
    const refhost::CPluginLibrary& library() const { return *library_; }
    CVornHandler& handler() const { return *handler_; }
    // Its default credentials are used until the family of a device is known; null for a list without
    // families.
    const SFamily* firstFamily() const;

private:
    boost::shared_ptr<CVornModelList> models_;
    std::unique_ptr<refhost::CPluginLibrary> library_;
    std::unique_ptr<refhost::CHandlerContext> context_;
    std::unique_ptr<CVornHandler> handler_;
};

} // namespace corvane::site
