#include "host/handler.h"

#include "host/assert.h"
#include "refhost/devices/handler_worker.h"
#include "refhost/http/device_requests.h"

#include <utility>

namespace corvane::vorn_handler::v1_0 {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SFamily;

constexpr const char* Source = "vornHandler";

const SFamily* FindSupportedFamily(const IHandlerContext& context, const std::string& name) {
    for (std::size_t i = 0; i < context.getFamilyCount(); ++i)
        if (const SFamily* family = context.getFamily(i); family->name == name)
            return family;
    return nullptr;
}

IHandlerContext* Given(IHandlerContext* context) {
    device_handler::v1_0::HostAssert(context, Source, __LINE__);
    return context;
}

// A family without a default user name has no default credentials.
CAuthentication DefaultsOf(const SFamily& family) {
    return family.user.empty() ? CAuthentication() : CAuthentication(family.user, family.password);
}

} // namespace

CVornHandler::SBase::SBase(IHandlerContext* handlerContext)
    : context(Given(handlerContext)), modelList(context->getModelList()), worker(*context) {
    device_handler::v1_0::HostAssert(modelList.get(), Source, __LINE__);
    if (context->getFamilyCount() > 0)
        defaultAuthentication = DefaultsOf(*context->getFamily(0));
}

CVornHandler::CVornHandler(IHandlerContext* context) : base_(std::make_unique<SBase>(context)) {}

CVornHandler::~CVornHandler() = default;

IHandlerContext& CVornHandler::context() const {
    return *base_->context;
}
const boost::shared_ptr<CVornModelList>& CVornHandler::modelList() const {
    return base_->modelList;
}
const CAuthentication& CVornHandler::defaultAuthentication() const {
    return base_->defaultAuthentication;
}

std::vector<CString> CVornHandler::getSupportedFamilies() const {
    std::vector<CString> names;
    for (std::size_t i = 0; i < base_->context->getFamilyCount(); ++i)
        names.emplace_back(base_->context->getFamily(i)->name);
    return names;
}

std::vector<CString> CVornHandler::getSupportedOemIds() const {
    return {};
}

const SFamily* CVornHandler::getOemInfo(CString const&) const {
    return nullptr;
}

std::vector<CString> CVornHandler::getSupportedModelNums() const {
    std::vector<CString> numbers;
    for (const auto& [number, model] : base_->modelList->getModels())
        if (FindSupportedFamily(*base_->context, model.family))
            numbers.emplace_back(number);
    return numbers;
}

const SModelInfo* CVornHandler::getModelInfo(CString const& model) const {
    return base_->modelList->findModel(model.str());
}

CAuthentication CVornHandler::getDefaultAuthentication(CString const& family) const {
    const SFamily* known = FindSupportedFamily(*base_->context, family.str());
    return known ? DefaultsOf(*known) : CAuthentication();
}

CError CVornHandler::testAuthentication(std::string const& address, CAuthentication const& auth) {
    return refhost::SendAuthenticationTest(*base_->modelList, address,
                                           auth.isSet() ? auth : base_->defaultAuthentication);
}

CError CVornHandler::queryDevice(std::string const& address, COptional<CDeviceId>& deviceId,
                                 CAuthentication const& auth) {
    COptional<CDeviceId> found;
    const std::lock_guard<std::mutex> lock(base_->worker.queryMutex());
    if (queryVornDevice(address, found, auth) != static_cast<int>(RtnCode::Success) || !found)
        return {RtnCode::NotSet, Origin::General, "no supported device answers at " + address};
    deviceId = found;
    return CError::Success();
}

CError CVornHandler::findDevices(std::vector<std::string> const& addresses, CAuthentication const& auth,
                                 std::vector<CString>& found) {
    std::vector<CString> here;
    for (const std::string& address : addresses) {
        if (base_->worker.isEnding()) // a long search must not hold up the shutdown
            return {RtnCode::OperationFailed, Origin::General, "the search was ended by the shutdown"};
        COptional<CDeviceId> device;
        if (!queryDevice(address, device, auth))
            here.emplace_back(address + " " + device->getFamilyName() + " " +
                              device->getSerialNumber().str());
    }
    found.insert(found.end(), here.begin(), here.end());
    return CError::Success();
}

void CVornHandler::shutdownHandler() {
    base_->worker.stop();
}

CVornController* CVornHandler::createDeviceController(IDeviceContext* context, char const* address,
                                                      char const* modelNumber) {
    boost::shared_ptr<CVornModelList> list = base_->modelList;
    return new CVornController(context, address, modelNumber, list);
}

CAsyncOp CVornHandler::testAuthenticationAsync(std::string const& address, CAuthentication const& auth,
                                               CCallback const& callback) {
    return base_->worker.submit([=](std::vector<CString>&) { return testAuthentication(address, auth); },
                                callback);
}

CAsyncOp CVornHandler::queryDeviceAsync(std::string const& address, CAuthentication const& auth,
                                        CCallback const& callback) {
    return base_->worker.submit(
        [=](std::vector<CString>& values) {
            COptional<CDeviceId> device;
            CError result = queryDevice(address, device, auth);
            if (!result)
                values = {device->getFamilyName(), device->getSerialNumber()};
            return result;
        },
        callback);
}

CAsyncOp CVornHandler::findDevicesAsync(std::vector<std::string> const& addresses,
                                        CAuthentication const& auth, CCallback const& callback) {
    return base_->worker.submit(
        [=](std::vector<CString>& values) { return findDevices(addresses, auth, values); }, callback);
}

int CVornHandler::queryVornDevice(std::string const&, COptional<CDeviceId>&, CAuthentication const&) {
    return static_cast<int>(RtnCode::NotSet);
}

CVornCamera* CVornHandler::createVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                                            char const* modelNumber) {
    boost::shared_ptr<CVornModelList> list = base_->modelList;
    if (base_->cameraFactory)
        return base_->cameraFactory(context, address, list, modelNumber);
    return new CVornCamera(context, address, list, modelNumber);
}

void CVornHandler::setCameraFactory(CameraFactory factory) {
    base_->cameraFactory = std::move(factory);
}

} // namespace corvane::vorn_handler::v1_0
