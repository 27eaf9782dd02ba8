#include "host/controller.h"

#include "host/assert.h"
#include "refhost/http/device_requests.h"

namespace corvane::vorn_controller::v1_0 {

using device_handler::v1_0::CError;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::SModelInfo;

CVornController::CVornController(IDeviceContext* context, char const* address, char const* modelNumber,
                                 boost::shared_ptr<CVornModelList>& modelList)
    : context_(context),
      address_(address ? address : ""),
      modelNumber_(modelNumber ? modelNumber : ""),
      modelList_(modelList) {
    device_handler::v1_0::HostAssert(context_ && modelList_, "vornController", __LINE__);
}

CVornController::~CVornController() = default;

const SModelInfo* CVornController::getModelInfo() const {
    return modelList_->findModel(modelNumber_);
}

CError CVornController::testAuthentication() {
    return refhost::SendAuthenticationTest(*modelList_, address_, context_->getAuthentication());
}

} // namespace corvane::vorn_controller::v1_0
