// The smallest plug-in: the framework's own objects behind the exported functions.

#include "host/object_factory.h"

namespace corvane::vorn_obj_factory::v1_0 {

CVornHandler* CObjectFactory::createHandlerObject(IHandlerContext* context) {
    return new CVornHandler(context);
}

CVornCamera* CObjectFactory::createCameraObject(boost::shared_ptr<IDeviceContext>& context,
                                                char const* address,
                                                boost::shared_ptr<CVornModelList>& modelList,
                                                char const* modelNumber) {
    return new CVornCamera(context, address, modelList, modelNumber);
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
    return new CPtzController(context, index, address, camera, flags);
}

} // namespace corvane::vorn_obj_factory::v1_0

char const* Handler_Build_Date = "1000";
char const* Handler_Build_Id = "1.2.3";
