#include "site/session/loaded_plugin.h"

#include "refhost/base/address.h"
#include "refhost/models/model_list_file.h"
#include "site/base/exit_status.h"

#include <boost/make_shared.hpp>

#include <filesystem>
#include <initializer_list>
#include <map>

namespace corvane::site {
namespace {

namespace fs = std::filesystem;

fs::path ProgramFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::path(".") : program.parent_path();
}

// When there is none, the one that was expected first.
std::string FirstExisting(const std::vector<std::string>& candidates) {
    const fs::path folder = ProgramFolder();
    for (const std::string& candidate : candidates) {
        const fs::path file = (folder / candidate).lexically_normal();
        std::error_code error;
        if (fs::exists(file, error))
            return file;
    }
    return (folder / candidates.front()).lexically_normal();
}

void SetPorts(device_handler::v1_0::StreamUrlTable& table, const std::string& port) {
    for (auto& [stream, codecs] : table)
        for (auto& [codec, variants] : codecs)
            for (auto& [variant, url] : variants)
                url.port = port;
}

// The list with one port in every stream location.
boost::shared_ptr<CVornModelList> WithRtspPort(const CVornModelList& list, int port) {
    std::map<std::string, device_handler::v1_0::SQueryDevice> queries;
    for (const SFamily& family : list.getFamilies())
        queries[family.name] = list.getQueryDevice(family.name);
    CVornModelList::ModelMap models = list.getModels();
    for (auto& [number, model] : models) {
        SetPorts(model.videoUrls, std::to_string(port));
        SetPorts(model.audioUrls, std::to_string(port));
    }
    return boost::make_shared<CVornModelList>(list.getTestAuthentication(), list.getFamilies(), queries,
                                              models);
}

} // namespace

// The relative places are those of the installation and of the build tree (see CMakeLists.txt).
std::string PluginFile(const SOptions& options) {
    return options.pluginFile.empty() ? FirstExisting({VORNHOST_PLUGIN_FOLDER "/" VORNHOST_PLUGIN_NAME,
                                                       "../lib/" VORNHOST_PLUGIN_NAME, VORNHOST_PLUGIN_NAME})
                                      : options.pluginFile;
}

std::string ModelListFile(const SOptions& options) {
    return options.modelListFile.empty()
               ? FirstExisting({VORNHOST_MODELS_FOLDER "/models.json", "../share/vornhost/models.json"})
               : options.modelListFile;
}

std::string SharedPath(const std::string& name) {
    return FirstExisting({VORNHOST_SHARED_FOLDER "/" + name, "../share/vornhost/" + name});
}

boost::shared_ptr<CVornModelList> OpenModelList(const SOptions& options) {
    try {
        auto list = refhost::LoadModelList(ModelListFile(options));
        return options.rtspPort ? WithRtspPort(*list, *options.rtspPort) : list;
    } catch (const refhost::CModelListError& error) {
        throw CFailure(ExitStatus::WrongUsage, std::string("the model list was refused: ") + error.what(),
                       OwnCause::WrongFile);
    }
}

Texts NumbersOf(const CVornModelList& models) {
    Texts numbers;
    for (const auto& [number, model] : models.getModels())
        numbers.push_back(number);
    return numbers;
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
        library_ = std::make_unique<refhost::CPluginLibrary>(PluginFile(options));
        context_ = std::make_unique<refhost::CHandlerContext>(models_);
        handler_ = library_->createHandler(*context_);
    } catch (const refhost::CPluginError& error) {
        throw CFailure(ExitStatus::NotStarted,
                       std::string("the plug-in could not be loaded: ") + error.what(), OwnCause::NoPlugin);
    }
}

CLoadedPlugin::~CLoadedPlugin() = default;

const SFamily* CLoadedPlugin::firstFamily() const {
    return models_->getFamilies().empty() ? nullptr : &models_->getFamilies().front();
}

} // namespace corvane::site
