#include "refhost/base/plugin_library.h"

#include "host/plugin_symbols.h"

#include <dlfcn.h>

#include <filesystem>

namespace corvane::refhost {

namespace plugin_symbols = vorn_obj_factory::v1_0::plugin_symbols;
namespace {

using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::IHandlerContext;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_controller::v1_0::CVornController;
using vorn_handler::v1_0::CVornHandler;
using vorn_ptz_controller::v1_0::CPtzController;

struct SLibraryCloser {
    void operator()(void* library) const { dlclose(library); }
};
using CLibraryHandle = std::unique_ptr<void, SLibraryCloser>;

CLibraryHandle OpenLibrary(const std::string& file) {
    // A name without a "/" would be looked for in the system's folders.
    CLibraryHandle library(dlopen(std::filesystem::absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!library)
        throw CPluginError(
            file + ": cannot be loaded: " + dlerror()); // NOLINT(concurrency-mt-unsafe): a thread's own
    return library;
}

template <class Object>
Object* Require(Object* made, const std::string& file, const char* what) {
    if (!made)
        throw CPluginError(file + ": made no " + what);
    return made;
}

} // namespace

struct CPluginLibrary::SSymbols {
    explicit SSymbols(const std::string& file) : library(OpenLibrary(file)) {
        resolve(createHandler, plugin_symbols::CreateHandler, file);
        resolve(createCamera, plugin_symbols::CreateCamera, file);
        resolve(createController, plugin_symbols::CreateController, file);
        resolve(createPtzController, plugin_symbols::CreatePtzController, file);
        resolve(buildDate, plugin_symbols::BuildDate, file);
        resolve(buildId, plugin_symbols::BuildId, file);
    }

    template <class Symbol>
    void resolve(Symbol*& symbol, const char* name, const std::string& file) const {
        symbol = reinterpret_cast<Symbol*>(dlsym(library.get(), name));
        if (!symbol)
            throw CPluginError(file + ": is no device-handler plug-in: it lacks the symbol " + name);
    }

    CLibraryHandle library;
    CVornHandler* (*createHandler)(IHandlerContext*) = nullptr;
    CVornCamera* (*createCamera)(boost::shared_ptr<IDeviceContext>&, char const*,
                                 boost::shared_ptr<CVornModelList>&, char const*) = nullptr;
    CVornController* (*createController)(IDeviceContext*, char const*, char const*,
                                         boost::shared_ptr<CVornModelList>&) = nullptr;
    CPtzController* (*createPtzController)(boost::shared_ptr<IDeviceContext>&, int, char const*,
                                           boost::shared_ptr<CVornCamera>&, unsigned) = nullptr;
    char const** buildDate = nullptr;
    char const** buildId = nullptr;
};

CPluginLibrary::CPluginLibrary(const std::string& file)
    : file_(file), symbols_(std::make_unique<SSymbols>(file)) {}

CPluginLibrary::~CPluginLibrary() = default;

std::string CPluginLibrary::buildDate() const {
    return *symbols_->buildDate;
}

std::string CPluginLibrary::buildId() const {
    return *symbols_->buildId;
}

std::unique_ptr<CVornHandler> CPluginLibrary::createHandler(IHandlerContext& context) const {
    std::unique_ptr<CVornHandler> handler(
        Require(symbols_->createHandler(&context), file_, "device handler"));
    handler->setCameraFactory(symbols_->createCamera);
    return handler;
}

boost::shared_ptr<CVornCamera> CPluginLibrary::createCamera(boost::shared_ptr<IDeviceContext> context,
                                                            const std::string& address,
                                                            boost::shared_ptr<CVornModelList> modelList,
                                                            const std::string& modelNumber) const {
    CVornCamera* camera = symbols_->createCamera(context, address.c_str(), modelList, modelNumber.c_str());
    return boost::shared_ptr<CVornCamera>(Require(camera, file_, "camera"));
}

std::unique_ptr<CVornController>
CPluginLibrary::createController(IDeviceContext& context, const std::string& address,
                                 const std::string& modelNumber,
                                 boost::shared_ptr<CVornModelList> modelList) const {
    CVornController* controller =
        symbols_->createController(&context, address.c_str(), modelNumber.c_str(), modelList);
    return std::unique_ptr<CVornController>(Require(controller, file_, "controller"));
}

std::unique_ptr<CPtzController>
CPluginLibrary::createPtzController(boost::shared_ptr<IDeviceContext> context, int index,
                                    const std::string& address, boost::shared_ptr<CVornCamera> camera) const {
    constexpr unsigned NoFlags = 0;
    std::unique_ptr<CPtzController> controller(
        Require(symbols_->createPtzController(context, index, address.c_str(), camera, NoFlags), file_,
                "PTZ controller"));
    controller->start();
    return controller;
}

} // namespace corvane::refhost
