#include "host/camera.h"

#include "host/assert.h"
#include "host/cgi.h"
#include "refhost/http/device_requests.h"

#include <algorithm>

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::IDeviceDbProxy;
using device_handler::v1_0::Origin;
using device_handler::v1_0::PropertyValue;
using device_handler::v1_0::RtnCode;
using vorn_utility::v1_0::CVornCgiLib;

constexpr int SingleValueTimeout = 4;
constexpr const char* NameKey = "name";
constexpr int LongestName = 20;

const SModelInfo UnknownModel;

const SModelInfo* modelOrUnknown(const CVornModelList& list, const std::string& number) {
    const SModelInfo* model = list.findModel(number);
    return model ? model : &UnknownModel;
}

CError notSupported(const std::string& what) {
    return {RtnCode::NotSupported, Origin::General, what};
}

CError noDatabase() {
    return {RtnCode::DeviceDbUnavailable, Origin::General, "the device database is not available"};
}

} // namespace

CVornCamera::CVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                         boost::shared_ptr<CVornModelList>& modelList, char const* modelNumber)
    : deviceContext_(context),
      address_(address ? address : ""),
      modelList_(modelList),
      modelNumber_(modelNumber ? modelNumber : ""),
      model_(&UnknownModel) {
    device_handler::v1_0::HostAssert(deviceContext_ && modelList_, "vornCamera", __LINE__);
    model_ = modelOrUnknown(*modelList_, modelNumber_);
}

CVornCamera::~CVornCamera() = default;

CError CVornCamera::initialize() {
    std::string number = modelNumber_;
    if (number.empty()) {
        if (CError error = preInit_getUnitModelName(number); error)
            return error;
        hasToldItsName_ = true;
    }
    const SModelInfo* known = modelList_->findModel(number);
    if (!known)
        return notSupported("the model list does not know the model \"" + number + "\"");
    modelNumber_ = number;
    model_ = known;
    if (!customInitialize())
        return {RtnCode::NotAccessible, Origin::General,
                "the device at " + address_ + " cannot be initialised"};
    // Of a number that was given the prefix is the camera's to tell; without it the name is the number alone.
    if (!hasToldItsName_)
        hasToldItsName_ = !preInit_getUnitModelName(number);
    return CError::Success();
}

CError CVornCamera::preInit_getUnitModelName(std::string&) {
    return notSupported("the device cannot be asked for its model number");
}

bool CVornCamera::customInitialize() {
    return true;
}

CError CVornCamera::testAuthentication() {
    return refhost::SendAuthenticationTest(*modelList_, address_, deviceContext_->getAuthentication());
}

CError CVornCamera::getUnitModelName(CString& name) {
    if (modelNumber_.empty())
        return {RtnCode::NotSet, Origin::General, "the model number is not known"};
    name = modelNumber_;
    return CError::Success();
}

CError CVornCamera::isUnitModelSupported(CString& supported) {
    supported = PropertyValue(modelList_->findModel(modelNumber_) ? 1 : 0);
    return CError::Success();
}

CError CVornCamera::isUnitFirmwareSupported(CString& supported) {
    supported = PropertyValue(1);
    return CError::Success();
}

CError CVornCamera::getUnitFirmwareVersion(CString& version) {
    version = CString();
    return CError::Success();
}

CError CVornCamera::getInterfaceMac(int, CString& mac) {
    mac = CString();
    return CError::Success();
}

CError CVornCamera::getCameraName(int index, std::vector<CString>& name) {
    if (CError error = checkVideoInput(index))
        return error;
    const CString defaultName("Camera " + std::to_string(index + 1));
    CString given = defaultName;
    // Without a record, or a name in it, the default name stands.
    (void)readFromInputDb(InputClass::Video, index, NameKey, given);
    name.insert(name.end(), {given, defaultName, PropertyValue(LongestName)});
    return CError::Success();
}

CError CVornCamera::readFromInputDb(InputClass inputClass, int input, const std::string& key,
                                    CString& value) {
    const boost::shared_ptr<IDeviceDbProxy> record = deviceContext_->getDeviceDbProxy();
    return record ? record->readInputValue(inputClass, input, key, value) : noDatabase();
}

CError CVornCamera::writeToInputDb(InputClass inputClass, int input, const std::string& key,
                                   const CString& value) {
    const boost::shared_ptr<IDeviceDbProxy> record = deviceContext_->getDeviceDbProxy();
    return record ? record->writeInputValue(inputClass, input, key, value) : noDatabase();
}

CError CVornCamera::rebootDevice() {
    return notSupported("the device cannot be restarted");
}

CError CVornCamera::resetToFactoryDefaults() {
    return notSupported("the device cannot be put back to its factory defaults");
}

CError CVornCamera::getCamSingleValue(const std::string& address, const SVornUrl& url,
                                      const std::string& user, const std::string& password,
                                      std::string& value, const std::string& delimiters,
                                      const std::string& authScheme) {
    std::string reply;
    if (CError error = CVornCgiLib::vornCgiGetRawResponse(url, address, user, password, reply,
                                                          SingleValueTimeout, authScheme);
        error)
        return error;
    const std::size_t key = reply.find(url.replyKey);
    if (key == std::string::npos) {
        value.clear();
        return CError::Success();
    }
    const std::size_t start = key + url.replyKey.size();
    value = reply.substr(start, std::min(reply.find_first_of(delimiters, start), reply.size()) - start);
    return CError::Success();
}

} // namespace corvane::vorn_camera_base::v1_0
