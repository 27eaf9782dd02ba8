#pragma once

#include "host/api.h"
#include "host/async_queue.h"
#include "host/authentication.h"
#include "host/camera.h"
#include "host/device_context.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <memory>
#include <mutex>
#include <vector>

namespace corvane::vorn_ptz_controller::v1_0 {

using device_handler::v1_0::CAsyncOp;
using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CCallback;
using device_handler::v1_0::CError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::CString;
using device_handler::v1_0::IDeviceContext;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_utility::v1_0::CThreadAsyncQueue;

// What every PTZ controller is made of: a queue of commands and the worker thread that runs them one at a
// time, in the order of their arrival.
class VORN_HOST_API CBasePtzController {
public:
    // `index` is the video input, from 0; `address` the device's (see host/cgi.h), which the camera has too;
    // `flags` are the host's own and mean nothing here.
    CBasePtzController(boost::shared_ptr<IDeviceContext>& context, int index, char const* address,
                       boost::shared_ptr<CVornCamera>& camera, unsigned flags);
    // Stops the worker. A derived class stops it in its own destructor already, while its loop still exists.
    virtual ~CBasePtzController();
    CBasePtzController(const CBasePtzController&) = delete;
    CBasePtzController& operator=(const CBasePtzController&) = delete;

    // Ends the worker after the command that it has taken, if any; those that wait are cancelled, and so is
    // at once whatever is given later. Nothing is called after the return but by a handle that another thread
    // cancels at that moment. Not from a callback. May be repeated; a stopped controller stays stopped.
    void stop();

protected:
    // Runs `loop` on the worker, once. It must end soon after isRunning() has become false, of which the
    // queue is notified.
    void startWorker(boost::function<void()> loop);
    bool isRunning() const;

    const boost::shared_ptr<IDeviceContext>& deviceContext() const;
    int index() const;
    CVornCamera& camera() const;
    CThreadAsyncQueue& queue() const;
    std::mutex& mutex(); // for the derived controller's state

    // Takes over the device's credentials of this moment, and returns them.
    CAuthentication refreshCredentials();

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

// A device's PTZ controller: each command is queued, returns its handle at once, and ends in an operation of
// the camera (see host/camera.h for the scales and the failures), whose result its callback receives (see
// host/callback.h for the thread). A command that throws ends with (OperationFailed, General, "Operation
// resulted in a problem"). Commands may be given on any thread.
class VORN_HOST_API CPtzController : public CBasePtzController {
public:
    using CBasePtzController::CBasePtzController;
    ~CPtzController() override;

    // The commands, one a row, with what each does.
#define VORN_PTZ_OWN(NAME, PARAMETERS) virtual CAsyncOp NAME PARAMETERS;
#include "host/ptz_commands.def"

protected:
    // The worker's loop.
    virtual void ThreadRun();

public:
    // The position, as the camera's getPtzPosition tells it.
    virtual CAsyncOp getPTZPos(const CCallback& callback);

    // What the commands of the same name do, on the worker.
    virtual void moveAtSync(int pan, int tilt, int zoom, const CCallback& callback,
                            CAuthentication& credentials);

    // Starts the worker, once; the host does so when it has made the controller. Commands may be queued
    // before.
    void start();

    // Adds every operation that can be called by name ("controller.moveAt") to `registry`, which must not
    // outlive the controller.
    void registerOperations(COperationRegistry& registry);

protected:
    // Runs a command, if there is one, and contains what it throws.
    static void runCommand(const boost::shared_ptr<vorn_utility::v1_0::CAsyncCmdDetails>& details);

private:
    using Operation = boost::function<CError(CVornCamera& camera, std::vector<CString>& values)>;
    CAsyncOp submit(Operation operation, const CCallback& callback);
};

} // namespace corvane::vorn_ptz_controller::v1_0
