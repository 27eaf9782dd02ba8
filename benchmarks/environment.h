#pragma once

#include "benchmarks/simulated_cameras.h"

#include "host/camera.h"
#include "host/device_context.h"
#include "host/model_list.h"
#include "host/ptz_controller.h"
#include "refhost/base/device_db.h"
#include "refhost/base/plugin_library.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

namespace corvane::bench {

// Why a run is worth nothing: something did not do what it is measured at.
class CFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What the workloads run in: the framework as the recorder has it, the plug-in's shared library, and
// simulated cameras.
class CEnvironment {
public:
    static constexpr const char* UsualModel = "D850"; // what ./bench simulates

    // Throws CFailure, or what the framework throws, when a part cannot be had.
    CEnvironment(bool isQuick, const std::string& plugin, const std::string& models,
                 const std::string& simulator);

    // A quick run shows that everything works; its figures are rough.
    bool isQuick() const { return isQuick_; }
    int choose(int full, int quick) const { return isQuick_ ? quick : full; }

    CSimulatedCameras& cameras() { return cameras_; }

    // One camera of each shipped model, and the program that asks them; set before they are used.
    void setEveryModel(const std::string& simulator, const std::string& program);
    const CSimulatedCameras& everyModel() const { return *everyModel_; }
    const std::string& program() const { return program_; }

    const device_handler::v1_0::CVornModelList& modelList() const { return *modelList_; }
    const device_handler::v1_0::CAuthentication& credentials() const { return credentials_; }

    boost::shared_ptr<device_handler::v1_0::IDeviceContext> makeContext(const std::string& address) const;

    // A camera of the plug-in, not yet initialised. The environment must outlive it.
    boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera>
    createCamera(boost::shared_ptr<device_handler::v1_0::IDeviceContext> context, const std::string& address,
                 const std::string& model = UsualModel) const;

    // Likewise, initialised. Throws CFailure when the camera does not come up.
    boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera>
    bringUp(boost::shared_ptr<device_handler::v1_0::IDeviceContext> context,
            const std::string& address) const;

    // A PTZ controller of its first input, its worker started.
    std::unique_ptr<vorn_ptz_controller::v1_0::CPtzController>
    createPtzController(boost::shared_ptr<device_handler::v1_0::IDeviceContext> context,
                        boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera> camera,
                        const std::string& address) const;

private:
    const bool isQuick_;
    const refhost::CPluginLibrary plugin_;
    const boost::shared_ptr<device_handler::v1_0::CVornModelList> modelList_;
    const device_handler::v1_0::CAuthentication credentials_; // the defaults of the first family
    const std::shared_ptr<refhost::CDeviceDb> database_;
    CSimulatedCameras cameras_;
    std::optional<CSimulatedCameras> everyModel_;
    std::string program_;
};

} // namespace corvane::bench
