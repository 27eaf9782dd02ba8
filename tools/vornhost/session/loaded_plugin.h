#pragma once

#include "refhost/base/plugin_library.h"
#include "refhost/devices/contexts.h"
#include "tools/vornhost/session/options.h"

#include <memory>
#include <string>

namespace corvane::vornhost {

// Reads the model list that the options name. Throws CFailure.
boost::shared_ptr<device_handler::v1_0::CVornModelList> OpenModelList(const SOptions& options);

// Whether text is a device's address. Throws CFailure when not.
void RequireAddress(const std::string& text);

// The plug-in with its model list and its device handler, as the recorder keeps it.
class CLoadedPlugin {
public:
    // Throws CFailure.
    explicit CLoadedPlugin(const SOptions& options);
    ~CLoadedPlugin();

    boost::shared_ptr<device_handler::v1_0::CVornModelList> models() const { return models_; }
    const refhost::CPluginLibrary& library() const { return *library_; }
    vorn_handler::v1_0::CVornHandler& handler() const { return *handler_; }
    // The one whose defaults a device is asked with until its own is known; null for a list without families.
    const device_handler::v1_0::SFamily* firstFamily() const;

private:
    boost::shared_ptr<device_handler::v1_0::CVornModelList> models_;
    std::unique_ptr<refhost::CPluginLibrary> library_;
    std::unique_ptr<refhost::CHandlerContext> context_;
    std::unique_ptr<vorn_handler::v1_0::CVornHandler> handler_;
};

} // namespace corvane::vornhost
