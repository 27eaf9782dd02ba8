#include "host/object_factory.h"

#include "camera/panasonic_camera.h"
#include "handler/panasonic_handler.h"
#include "ptz/ptz_controller.h"

namespace corvane::vorn_obj_factory::v1_0 {

CVornHandler* CObjectFactory::createHandlerObject(IHandlerContext* context) {
    return new panasonic_handler::CPanasonicHandler(context);
}

CVornCamera* CObjectFactory::createCameraObject(boost::shared_ptr<IDeviceContext>& context,
                                                char const* address,
                                                boost::shared_ptr<CVornModelList>& modelList,
                                                char const* modelNumber) {
    return new panasonic_camera::CPanasonicCamera(context, address, modelList, modelNumber);
}

CVornController* CObjectFactory::createControllerObject(IDeviceContext* context, char const* address,
                                                        char const* modelNumber,
                                                        boost::shared_ptr<CVornModelList>& modelList) {
    return new CVornController(context, address, modelNumber, modelList);
}

CPtzController* CObjectFactory::createPtzControllerObject(boost::shared_ptr<IDeviceContext>& context,
                                                          int index, char const* address,
                                                          boost::shared_ptr<CVornCamera>& camera,
                                                          unsigned int flags) {
    return new panasonic_ptz_controller::CPanasonicPtzController(context, index, address, camera, flags);
}

} // namespace corvane::vorn_obj_factory::v1_0

char const* Handler_Build_Date = "1375330389";
char const* Handler_Build_Id = "4.3.0.10440002";
