#include "refhost/devices/camera_base.h"

#include "host/assert.h"
#include "host/cgi.h"
#include "refhost/http/device_requests.h"

#include <algorithm>
#include <utility>

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::IDeviceDbProxy;
using vorn_utility::v1_0::CVornCgiLib;

constexpr int SingleValueTimeout = 4;
constexpr const char* NameKey = "name";
constexpr int LongestName = 20;

const SModelInfo UnknownModel;

const SModelInfo* ModelOrUnknown(const CVornModelList& list, const std::string& number) {
    const SModelInfo* model = list.findModel(number);
    return model ? model : &UnknownModel;
}

CError NotSupported(const std::string& what) {
    return {RtnCode::NotSupported, Origin::General, what};
}

CError NoDatabase() {
    return {RtnCode::DeviceDbUnavailable, Origin::General, "the device database is not available"};
}

} // namespace

CVornCamera::SBase::SBase(const boost::shared_ptr<IDeviceContext>& context, std::string deviceAddress,
                          const boost::shared_ptr<CVornModelList>& list, std::string number)
    : deviceContext(context),
      address(std::move(deviceAddress)),
      modelList(list),
      modelNumber(std::move(number)),
      model(&UnknownModel) {
    device_handler::v1_0::HostAssert(deviceContext && modelList, "vornCamera", __LINE__);
    model = ModelOrUnknown(*modelList, modelNumber);
}

CVornCamera::CVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                         boost::shared_ptr<CVornModelList>& modelList, char const* modelNumber)
    : base_(std::make_unique<SBase>(context, address ? address : "", modelList,
                                    modelNumber ? modelNumber : "")) {}

CVornCamera::~CVornCamera() = default;

const boost::shared_ptr<IDeviceContext>& CVornCamera::deviceContext() const {
    return base_->deviceContext;
}
const std::string& CVornCamera::address() const {
    return base_->address;
}
const boost::shared_ptr<CVornModelList>& CVornCamera::modelList() const {
    return base_->modelList;
}
const SModelInfo& CVornCamera::model() const {
    return *base_->model;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter" // the rows name them
// What the base leaves to the device, and scales that it takes for the same.
#define VORN_OF_DEVICE(TEXT, NAME, PARAMETERS)                                                               \
    CError CVornCamera::NAME PARAMETERS {                                                                    \
        return NotSupported(TEXT);                                                                           \
    }
#define VORN_CONVERSION(NAME, PARAMETER)                                                                     \
    int CVornCamera::NAME(int PARAMETER) {                                                                   \
        return PARAMETER;                                                                                    \
    }
#include "host/camera_operations.def"
#pragma GCC diagnostic pop

CError CVornCamera::initialize() {
    std::string number = base_->modelNumber;
    if (number.empty()) {
        if (CError error = preInit_getUnitModelName(number); error)
            return error;
        base_->hasToldItsName = true;
    }
    const SModelInfo* known = base_->modelList->findModel(number);
    if (!known)
        return NotSupported("the model list does not know the model \"" + number + "\"");
    base_->modelNumber = number;
    base_->model = known;
    if (!customInitialize())
        return {RtnCode::NotAccessible, Origin::General,
                "the device at " + address() + " cannot be initialised"};
    // Of a number that was given the prefix is the camera's to tell; without it the name is the number alone.
    if (!base_->hasToldItsName)
        base_->hasToldItsName = !preInit_getUnitModelName(number);
    return CError::Success();
}

bool CVornCamera::customInitialize() {
    return true;
}

CError CVornCamera::testAuthentication() {
    return refhost::SendAuthenticationTest(*base_->modelList, address(),
                                           deviceContext()->getAuthentication());
}

CError CVornCamera::getUnitModelName(CString& name) {
    if (base_->modelNumber.empty())
        return {RtnCode::NotSet, Origin::General, "the model number is not known"};
    name = base_->modelNumber;
    return CError::Success();
}

CError CVornCamera::isUnitModelSupported(CString& supported) {
    supported = PropertyValue(base_->modelList->findModel(base_->modelNumber) ? 1 : 0);
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

CError CVornCamera::getCameraName(int input, std::vector<CString>& name) {
    if (CError error = base_->checkVideoInput(input))
        return error;
    const CString defaultName("Camera " + std::to_string(input + 1));
    CString given = defaultName;
    // Without a record, or a name in it, the default name stands.
    (void)readFromInputDb(InputClass::Video, input, NameKey, given);
    name.insert(name.end(), {given, defaultName, PropertyValue(LongestName)});
    return CError::Success();
}

CError CVornCamera::readFromInputDb(InputClass inputClass, int input, const std::string& key,
                                    CString& value) {
    const boost::shared_ptr<IDeviceDbProxy> record = deviceContext()->getDeviceDbProxy();
    return record ? record->readInputValue(inputClass, input, key, value) : NoDatabase();
}

CError CVornCamera::writeToInputDb(InputClass inputClass, int input, const std::string& key,
                                   const CString& value) {
    const boost::shared_ptr<IDeviceDbProxy> record = deviceContext()->getDeviceDbProxy();
    return record ? record->writeInputValue(inputClass, input, key, value) : NoDatabase();
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
