#pragma once

#include "host/api.h"
#include "host/object_factory.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <stdexcept>
#include <string>

namespace corvane::refhost {

// Why a plug-in could not be loaded; the text names the file and what is missing.
class VORN_HOST_API CPluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A plug-in's shared library, loaded into the process: the exported factory functions, found by their mangled
// names, and the build identification. The objects it makes must be destroyed before it.
class VORN_HOST_API CPluginLibrary {
public:
    // Loads the library. Throws CPluginError when it cannot be loaded or lacks one of its symbols.
    explicit CPluginLibrary(const std::string& file);
    ~CPluginLibrary();
    CPluginLibrary(const CPluginLibrary&) = delete;
    CPluginLibrary& operator=(const CPluginLibrary&) = delete;

    const std::string& file() const { return file_; }
    std::string buildDate() const; // decimal seconds since 1970-01-01 UTC
    std::string buildId() const;

    // A handler whose `createVornCamera` makes this plug-in's cameras.
    std::unique_ptr<vorn_handler::v1_0::CVornHandler>
    createHandler(device_handler::v1_0::IHandlerContext& context) const;

    // A camera, not yet initialised (see CObjectFactory::createCameraObject).
    boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera>
    createCamera(boost::shared_ptr<device_handler::v1_0::IDeviceContext> context, const std::string& address,
                 boost::shared_ptr<device_handler::v1_0::CVornModelList> modelList,
                 const std::string& modelNumber) const;

    std::unique_ptr<vorn_controller::v1_0::CVornController>
    createController(device_handler::v1_0::IDeviceContext& context, const std::string& address,
                     const std::string& modelNumber,
                     boost::shared_ptr<device_handler::v1_0::CVornModelList> modelList) const;

    // The PTZ controller of one of the camera's inputs, its worker started; `camera` must be one that this
    // library has made.
    std::unique_ptr<vorn_ptz_controller::v1_0::CPtzController>
    createPtzController(boost::shared_ptr<device_handler::v1_0::IDeviceContext> context, int index,
                        const std::string& address,
                        boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera> camera) const;

private:
    struct SSymbols;

    std::string file_;
    std::unique_ptr<SSymbols> symbols_;
};

} // namespace corvane::refhost
