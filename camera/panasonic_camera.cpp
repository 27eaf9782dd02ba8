#include "camera/panasonic_camera.h"

#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/model_number.h"
#include "camera/setting.h"
#include "camera/setting_keys.h"
#include "camera/stream_tables.h"

#include "host/log.h"

#include <boost/make_shared.hpp>

namespace corvane::panasonic_camera {

using device_handler::v1_0::IDeviceDbProxy;
using device_handler::v1_0::LogDetail;
using device_handler::v1_0::PropertyValue;
using device_handler::v1_0::SQueryDevice;
using device_handler::v1_0::SVornUrl;

namespace {

constexpr const char* TitleMaxLength = "20"; // characters

// The first input's has no number.
std::string TitleKey(int input) {
    return key::Title + (input < 1 ? "" : std::to_string(static_cast<long>(input) + 1));
}

} // namespace

CPanasonicCamera::CPanasonicCamera(boost::shared_ptr<IDeviceContext>& context, char const* cameraAddress,
                                   boost::shared_ptr<CVornModelList>& models, char const* modelNumber)
    : CVornCamera(context, cameraAddress, models, modelNumber) {}

CPanasonicCamera::~CPanasonicCamera() = default;

CError CPanasonicCamera::preInit_getUnitModelName(std::string& model) {
    const CAuthentication authentication = deviceContext()->getAuthentication();
    if (!authentication.isSet()) {
        deviceContext()->log(LogDetail, "%s: auth is not set.", __func__);
        return errors::AuthenticationUnavailable();
    }
    const boost::shared_ptr<IDeviceDbProxy> database = deviceContext()->getDeviceDbProxy();
    if (!database) {
        deviceContext()->log(LogDetail, "%s:: unable to create device DB proxy", __func__);
        return errors::DeviceDbUnavailable();
    }
    const SQueryDevice query = modelList()->getQueryDevice(database->getFamily());
    std::string reported;
    if (CError error = getCamSingleValue(address(), query.modelNumber.url, authentication.getUsername(),
                                         authentication.getPassword(), reported, query.modelNumber.delimiters,
                                         query.modelNumber.authScheme))
        return error;
    const SModelNumber parts = SplitModelNumber(reported);
    modelName = parts.prefix;
    model = parts.number;
    return CError::Success();
}

bool CPanasonicCamera::customInitialize() {
    if (testAuthentication())
        return false;
    if (!setting)
        setting = boost::make_shared<CPanasonicSetting>(address(), deviceContext(), settingKeys());
    if (!capability) {
        std::string reply;
        if (setting->CameraHttpGet(cgi::GetCapability, reply, cgi::RequestTimeout) || reply.empty())
            return false;
        capability = boost::make_shared<CPanasonicCapability>(std::move(reply));
    }
    return true;
}

CError CPanasonicCamera::testAuthentication() {
    const SVornUrl request = modelList()->getTestAuthentication();
    const CAuthentication authentication = deviceContext()->getAuthentication();
    if (!authentication.isSet())
        return errors::AuthenticationNotSet();
    std::string value;
    if (getCamSingleValue(address(), request, authentication.getUsername(), authentication.getPassword(),
                          value, cgi::ValueDelimiters, cgi::AuthScheme))
        return errors::BadAuthentication();
    return CError::Success();
}

CError CPanasonicCamera::getUnitModelName(CString& name) {
    CString number;
    if (CError error = CVornCamera::getUnitModelName(number))
        return error;
    name = modelName + number.str();
    return CError::Success();
}

CError CPanasonicCamera::isUnitModelSupported(CString& supported) {
    supported = PropertyValue(1);
    return CError::Success();
}

CError CPanasonicCamera::isUnitFirmwareSupported(CString& supported) {
    supported = PropertyValue(1);
    return CError::Success();
}

CError CPanasonicCamera::getUnitFirmwareVersion(CString& version) {
    version = setting ? setting->GetCameraInfo("VERSION") : std::string();
    return CError::Success();
}

CError CPanasonicCamera::getInterfaceMac(int /*interfaceIndex*/, CString& mac) {
    mac = setting ? setting->GetCameraInfo("MAC") : std::string();
    return CError::Success();
}

CError CPanasonicCamera::getCameraName(int index, std::vector<CString>& name) {
    const CString title = cameraSetting(TitleKey(index));
    name.push_back(title);
    name.push_back(title);
    name.emplace_back(TitleMaxLength);
    return CError::Success();
}

// What the operations read of every stream and input, so that the first dump answers for all of it.
std::vector<std::string> CPanasonicCamera::settingKeys() const {
    const int inputs = model().videoInputs;
    std::vector<std::string> keys = KeysOfAllStreams(inputs);
    for (int input = 0; input < inputs; ++input)
        keys.push_back(TitleKey(input));
    return keys;
}

std::string CPanasonicCamera::cameraSetting(const std::string& key) const {
    return setting ? setting->GetCameraSetting(key) : std::string();
}

const CPanasonicCapability& CPanasonicCamera::capabilityOrNone() const {
    static const CPanasonicCapability none{std::string()};
    return capability ? *capability : none;
}

CError CPanasonicCamera::rebootDevice() {
    return sendInitial(cgi::InitialReboot);
}

CError CPanasonicCamera::resetToFactoryDefaults() {
    return sendInitial(cgi::InitialFactoryReset);
}

CError CPanasonicCamera::sendInitial(const char* command) {
    return writeSetting(cgi::Initial, command);
}

CError CPanasonicCamera::writeSetting(const std::string& path, const std::string& query) {
    return setting ? setting->SetCameraSetting(path, query) : errors::NoSettings();
}

CError CPanasonicCamera::writeSettingNoReload(const std::string& path, const std::string& query) {
    return setting ? setting->SetCameraSettingNoReload(path, query) : errors::NoSettings();
}

} // namespace corvane::panasonic_camera
