#include "tools/vornhost/loaded_plugin.h"

#include "refhost/address.h"
#include "refhost/model_list_file.h"
#include "tools/vornhost/exit_status.h"
#include "tools/vornhost/installation.h"

namespace corvane::vornhost {

boost::shared_ptr<device_handler::v1_0::CVornModelList> OpenModelList(const SOptions& options) {
    try {
        return refhost::LoadModelList(options.modelListFile.empty() ? DefaultModelListFile()
                                                                    : options.modelListFile);
    } catch (const refhost::CModelListError& error) {
        throw CFailure(ExitStatus::WrongUsage, std::string("the model list was refused: ") + error.what());
    }
}

void RequireAddress(const std::string& text) {
    if (!refhost::ParseAddress(text))
        throw CFailure(ExitStatus::WrongUsage,
                       "wrong ADDRESS \"" + text +
                           "\": expected a host name or a dotted address, with :PORT (1 to 65535) where the "
                           "camera's web port is not 80");
}

CLoadedPlugin::CLoadedPlugin(const SOptions& options) : models_(OpenModelList(options)) {
    try {
        library_ = std::make_unique<refhost::CPluginLibrary>(options.pluginFile.empty() ? DefaultPluginFile()
                                                                                        : options.pluginFile);
        context_ = std::make_unique<refhost::CHandlerContext>(models_);
        handler_ = library_->createHandler(*context_);
    } catch (const refhost::CPluginError& error) {
        throw CFailure(ExitStatus::NotStarted,
                       std::string("the plug-in could not be loaded: ") + error.what());
    }
}

CLoadedPlugin::~CLoadedPlugin() = default;

} // namespace corvane::vornhost
