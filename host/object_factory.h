#pragma once

#include "host/api.h"
#include "host/camera.h"
#include "host/controller.h"
#include "host/device_context.h"
#include "host/handler.h"
#include "host/handler_context.h"
#include "host/model_list.h"
#include "host/ptz_controller.h"

#include <boost/shared_ptr.hpp>

namespace corvane::vorn_obj_factory::v1_0 {

using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::IHandlerContext;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_controller::v1_0::CVornController;
using vorn_handler::v1_0::CVornHandler;
using vorn_ptz_controller::v1_0::CPtzController;

// What a plug-in exports, each function under its full class-qualified name. Every function passes its
// arguments on unchecked and returns a new object, never null, which the caller owns and destroys through its
// virtual destructor; what an allocation or a constructor throws reaches the caller, with nothing left
// behind. The functions keep no state and may be called from any thread.
class VORN_HOST_API CObjectFactory {
public:
    // The plug-in's device handler; `context` must outlive it.
    static CVornHandler* createHandlerObject(IHandlerContext* context);

    // One camera: its context, its address, the model list, and its model number without the prefix (empty:
    // the camera is asked). Two calls for one device make two independent cameras.
    static CVornCamera* createCameraObject(boost::shared_ptr<IDeviceContext>& context, char const* address,
                                           boost::shared_ptr<CVornModelList>& modelList,
                                           char const* modelNumber);

    // The framework's generic controller of one device: its context (which must outlive the controller), its
    // address, its model number, and the model list.
    static CVornController* createControllerObject(IDeviceContext* context, char const* address,
                                                   char const* modelNumber,
                                                   boost::shared_ptr<CVornModelList>& modelList);

    // The PTZ controller of one of a camera's inputs (see CBasePtzController); its worker is not started.
    // `camera` must be one of the plug-in's.
    static CPtzController* createPtzControllerObject(boost::shared_ptr<IDeviceContext>& context, int index,
                                                     char const* address,
                                                     boost::shared_ptr<CVornCamera>& camera,
                                                     unsigned int flags);
};

} // namespace corvane::vorn_obj_factory::v1_0

// The build that the plug-in is: its build time in decimal seconds since 1970-01-01 UTC, and its version and
// build number.
extern "C" {
extern VORN_HOST_API char const* Handler_Build_Date;
extern VORN_HOST_API char const* Handler_Build_Id;
}
