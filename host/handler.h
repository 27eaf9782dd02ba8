#pragma once

#include "host/api.h"
#include "host/authentication.h"
#include "host/callback.h"
#include "host/camera.h"
#include "host/controller.h"
#include "host/device_id.h"
#include "host/error.h"
#include "host/handler_context.h"
#include "host/model_list.h"
#include "host/text.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>
#include <vector>

namespace corvane::device_handler::v1_0 {
class COperationRegistry;
}

namespace corvane::vorn_handler::v1_0 {

using device_handler::v1_0::CAsyncOp;
using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CCallback;
using device_handler::v1_0::CDeviceId;
using device_handler::v1_0::CError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::COptional;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::IHandlerContext;
using device_handler::v1_0::SModelInfo;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_controller::v1_0::CVornController;

// A device handler, as the recorder sees every handler: what it supports, and which device is at an address.
//
// The queries of one handler run one after another, however many threads ask; every other operation may be
// called from any thread at any time. Asynchronous operations run on one worker thread of the handler (see
// host/callback.h for the thread of their callbacks).
class VORN_HOST_API CVornHandler {
public:
    // Makes the camera of a device; what the framework gives for the plug-in's `createCameraObject`.
    using CameraFactory = boost::function<CVornCamera*(boost::shared_ptr<IDeviceContext>&, char const*,
                                                       boost::shared_ptr<CVornModelList>&, char const*)>;

    // `context` is kept and must outlive the handler.
    explicit CVornHandler(IHandlerContext* context);
    virtual ~CVornHandler();
    CVornHandler(const CVornHandler&) = delete;
    CVornHandler& operator=(const CVornHandler&) = delete;

    // The names of the supported families, in the context's order.
    virtual std::vector<CString> getSupportedFamilies() const;
    // The re-branded makes that the handler supports: none, unless a handler overrides this.
    virtual std::vector<CString> getSupportedOemIds() const;
    // The family that a re-branded make stands for, or null.
    virtual const device_handler::v1_0::SFamily* getOemInfo(CString const& oemId) const;
    // The model numbers of the supported families, in the model map's order.
    virtual std::vector<CString> getSupportedModelNums() const;
    // The record of the model of exactly this number, or null. Lives as long as the handler's context.
    virtual const SModelInfo* getModelInfo(CString const& model) const;
    // The family's default credentials; not set for a family that the handler does not support.
    virtual CAuthentication getDefaultAuthentication(CString const& family) const;

    // Sends the model list's authentication test to `address`; not set credentials mean the handler's
    // defaults. Fails as the exchange fails (see host/cgi.h).
    virtual CError testAuthentication(std::string const& address, CAuthentication const& auth);
    // Which device is at `address`. Fails with (NotSet, General) when none of the supported families answers;
    // `deviceId` is then left unchanged.
    virtual CError queryDevice(std::string const& address, COptional<CDeviceId>& deviceId,
                               CAuthentication const& auth);
    // Queries each address in turn and appends one text for each device found: its address, its family and
    // its serial number, with blanks between them.
    virtual CError findDevices(std::vector<std::string> const& addresses, CAuthentication const& auth,
                               std::vector<CString>& found);
    // Cancels every waiting asynchronous operation and waits for the one under way. Later ones are cancelled
    // at once, on the thread that asks. May be repeated; the destructor calls it too, but a derived handler
    // that overrides a query must call it in its own destructor.
    virtual void shutdownHandler();

    // The generic controller of a device; the caller owns it. `context` must outlive it.
    virtual CVornController* createDeviceController(IDeviceContext* context, char const* address,
                                                    char const* modelNumber);

    // The same as the operations above, on the worker thread. The callback's values are: none; the family and
    // the serial number; the devices found.
    virtual CAsyncOp testAuthenticationAsync(std::string const& address, CAuthentication const& auth,
                                             CCallback const& callback);
    virtual CAsyncOp queryDeviceAsync(std::string const& address, CAuthentication const& auth,
                                      CCallback const& callback);
    virtual CAsyncOp findDevicesAsync(std::vector<std::string> const& addresses, CAuthentication const& auth,
                                      CCallback const& callback);

    // The device-specific query: the return code of the identification, with `deviceId` filled on success
    // (1). Must not run twice at once; the operations above see to that. The base knows no device: 16.
    virtual int queryVornDevice(std::string const& address, COptional<CDeviceId>& deviceId,
                                CAuthentication const& auth);
    // Makes a camera with the factory given by `setCameraFactory`, or a generic one; the caller owns it.
    virtual CVornCamera* createVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                                          char const* modelNumber);

    // Called by the framework once, before the handler is used.
    void setCameraFactory(CameraFactory factory);

    // Adds every operation that can be called by name to `registry`, which must not outlive the handler.
    // Operations that take credentials use `auth`.
    void registerOperations(COperationRegistry& registry, CAuthentication const& auth);

protected:
    IHandlerContext& context() const;
    const boost::shared_ptr<CVornModelList>& modelList() const;
    // The credentials that a query starts from: the first supported family's defaults.
    const CAuthentication& defaultAuthentication() const;

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

} // namespace corvane::vorn_handler::v1_0
