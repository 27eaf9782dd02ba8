// The handler's operations by name. What returns a record is answered with what identifies it; a password is
// no answer.

#include "host/handler.h"
#include "operations/operations.h"
#include "refhost/devices/handler_worker.h"

namespace corvane::vorn_handler::v1_0 {
namespace {

using Addresses = std::vector<std::string>;

std::string Prefixed(const char* name) {
    return std::string("handler.") + name;
}

void RegisterQuestions(COperationRegistry& registry, CVornHandler* handler) {
    using C = CVornHandler;
    registry.add(Prefixed("getSupportedFamilies"), handler, &C::getSupportedFamilies, {});
    registry.add(Prefixed("getSupportedOemIds"), handler, &C::getSupportedOemIds, {});
    registry.add(Prefixed("getSupportedModelNums"), handler, &C::getSupportedModelNums, {});
    registry.add(Prefixed("shutdownHandler"), handler, &C::shutdownHandler, {});
    registry.add(Prefixed("getOemInfo"), {"oemId"},
                 boost::function<std::string(const CString&)>([handler](const CString& oemId) {
                     const device_handler::v1_0::SFamily* family = handler->getOemInfo(oemId);
                     return family ? family->name : std::string();
                 }));
    registry.add(Prefixed("getModelInfo"), {"model"},
                 boost::function<std::string(const CString&)>([handler](const CString& model) {
                     const SModelInfo* info = handler->getModelInfo(model);
                     return info ? info->number : std::string();
                 }));
    registry.add(Prefixed("getDefaultAuthentication"), {"family"},
                 boost::function<std::string(const CString&)>([handler](const CString& family) {
                     return handler->getDefaultAuthentication(family).getUsername();
                 }));
}

void RegisterExchanges(COperationRegistry& registry, CVornHandler* handler, const CAuthentication& auth) {
    registry.add(Prefixed("testAuthentication"), {"address"},
                 boost::function<CError(const std::string&)>([handler, auth](const std::string& address) {
                     return handler->testAuthentication(address, auth);
                 }));
    registry.add(Prefixed("queryDevice"), {"address"},
                 boost::function<CError(const std::string&, COptional<CDeviceId>&)>(
                     [handler, auth](const std::string& address, COptional<CDeviceId>& device) {
                         return handler->queryDevice(address, device, auth);
                     }));
    registry.add(Prefixed("findDevices"), {"addresses"},
                 boost::function<CError(const Addresses&, std::vector<CString>&)>(
                     [handler, auth](const Addresses& addresses, std::vector<CString>& found) {
                         return handler->findDevices(addresses, auth, found);
                     }));
}

void RegisterAsynchronous(COperationRegistry& registry, CVornHandler* handler, const CAuthentication& auth) {
    registry.add(Prefixed("testAuthenticationAsync"), {"address"},
                 boost::function<CAsyncOp(const std::string&, const CCallback&)>(
                     [handler, auth](const std::string& address, const CCallback& callback) {
                         return handler->testAuthenticationAsync(address, auth, callback);
                     }));
    registry.add(Prefixed("queryDeviceAsync"), {"address"},
                 boost::function<CAsyncOp(const std::string&, const CCallback&)>(
                     [handler, auth](const std::string& address, const CCallback& callback) {
                         return handler->queryDeviceAsync(address, auth, callback);
                     }));
    registry.add(Prefixed("findDevicesAsync"), {"addresses"},
                 boost::function<CAsyncOp(const Addresses&, const CCallback&)>(
                     [handler, auth](const Addresses& addresses, const CCallback& callback) {
                         return handler->findDevicesAsync(addresses, auth, callback);
                     }));
}

} // namespace

void CVornHandler::registerOperations(COperationRegistry& registry, CAuthentication const& auth) {
    RegisterQuestions(registry, this);
    RegisterExchanges(registry, this, auth);
    registry.add(Prefixed("queryVornDevice"), {"address"},
                 boost::function<int(const std::string&, COptional<CDeviceId>&)>(
                     [this, auth](const std::string& address, COptional<CDeviceId>& device) {
                         const std::lock_guard<std::mutex> lock(base_->worker.queryMutex());
                         return queryVornDevice(address, device, auth);
                     }));
    RegisterAsynchronous(registry, this, auth);
}

} // namespace corvane::vorn_handler::v1_0
