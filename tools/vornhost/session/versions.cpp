#include "tools/vornhost/session/versions.h"

#include "refhost/base/library_versions.h"
#include "site/base/exit_status.h"
#include "site/session/loaded_plugin.h"
#include "tools/vornhost/names.h"

namespace corvane::vornhost {
namespace {

template <class Version>
std::string OrReason(Version version) {
    try {
        return version();
    } catch (const std::exception& failure) {
        return std::string("none: ") + failure.what();
    }
}

} // namespace

std::string VersionsText(const SOptions& options) {
    const std::string plugin = OrReason([&options] {
        const refhost::CPluginLibrary library(PluginFile(options));
        return library.buildId() + " from " + library.file();
    });
    const std::string models = OrReason([&options] {
        return std::to_string(OpenModelList(options)->getModels().size()) + " in " + ModelListFile(options);
    });
    return "vornhost " VORNHOST_VERSION "\nplug-in    " + plugin + "\nframework  " +
           refhost::FrameworkVersion() + "\nmodels     " + models + "\n" + refhost::LibraryVersions();
}

} // namespace corvane::vornhost
