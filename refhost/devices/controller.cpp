#include "host/controller.h"

#include "host/assert.h"
#include "refhost/http/device_requests.h"

namespace corvane::vorn_controller::v1_0 {

using device_handler::v1_0::CError;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::SModelInfo;

struct CVornController::SBase {
    IDeviceContext* const context;
    const std::string address;
    const std::string modelNumber;
    const boost::shared_ptr<CVornModelList> modelList;
};

CVornController::CVornController(IDeviceContext* context, char const* address, char const* modelNumber,
                                 boost::shared_ptr<CVornModelList>& modelList)
    : base_(new SBase{context, address ? address : "", modelNumber ? modelNumber : "", modelList}) {
    device_handler::v1_0::HostAssert(context && modelList, "vornController", __LINE__);
}

CVornController::~CVornController() = default;

const std::string& CVornController::getAddress() const {
    return base_->address;
}

const SModelInfo* CVornController::getModelInfo() const {
    return base_->modelList->findModel(base_->modelNumber);
}

CError CVornController::testAuthentication() {
    return refhost::SendAuthenticationTest(*base_->modelList, base_->address,
                                           base_->context->getAuthentication());
}

} // namespace corvane::vorn_controller::v1_0
