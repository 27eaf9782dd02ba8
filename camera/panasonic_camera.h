#pragma once

#include "camera/capability.h"
#include "camera/setting.h"
#include "host/camera.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

namespace corvane::panasonic_camera {

using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using vorn_camera_base::v1_0::CVornCamera;

// A Panasonic network camera or encoder. Before `customInitialize` has made the settings, identity operations
// answer empty texts and commands fail with (16, 3, "property not found").
//
// Threads, ownership and outputs are those of CVornCamera.
class CPanasonicCamera : public CVornCamera {
public:
    // The arguments are CVornCamera's.
    CPanasonicCamera(boost::shared_ptr<IDeviceContext>& context, char const* cameraAddress,
                     boost::shared_ptr<CVornModelList>& models, char const* modelNumber);
    ~CPanasonicCamera() override;

    // Asks the camera with its family's model query. Fails with (10, 3, "Unable to get Authentication data"),
    // with (6, 3, "unable to create device DB proxy"), or as the exchange fails.
    CError preInit_getUnitModelName(std::string& model) override;

    // In this order: the authentication test, the settings cache, whose thread at once asks for
    // "/cgi-bin/setdata", and "/cgi-bin/get_capability". False when one fails; a repeated call makes only
    // what is still missing.
    bool customInitialize() override;

    // Fails with (16, 3, "Authentication is not set !") or, whatever went wrong, (10, 3, "Bad
    // Authentication").
    CError testAuthentication() override;

    // The model number with the prefix that the camera reported.
    CError getUnitModelName(CString& name) override;
    CError isUnitModelSupported(CString& supported) override;          // always the property value for 1
    CError isUnitFirmwareSupported(CString& supported) override;       // likewise
    CError getUnitFirmwareVersion(CString& version) override;          // "VERSION" of "/cgi-bin/getinfo"
    CError getInterfaceMac(int interfaceIndex, CString& mac) override; // "MAC" of it, whatever the index

    // Appends the title ("CAMTITLE", from the second input on "CAMTITLE2"), the title again, and "20".
    CError getCameraName(int index, std::vector<CString>& name) override;

    // "/cgi-bin/initial" with its command in the body; the result is the POST's.
    CError rebootDevice() override;
    CError resetToFactoryDefaults() override;

    void registerOperations(COperationRegistry& registry) override;

private:
    CError sendInitial(const char* command);

    boost::shared_ptr<CPanasonicCapability> capability; // empty until initialised
    boost::shared_ptr<CPanasonicSetting> setting;       // empty until initialised
    [[maybe_unused]] bool nrH264Mode = false;           // whether set requests use the "nr_" parameter names
    std::string modelName; // the model number's prefix, as the camera reported it
};

} // namespace corvane::panasonic_camera
