#pragma once

#include "host/clock.h"
#include "host/ptz_controller.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <chrono>
#include <cstdint>

namespace corvane::panasonic_ptz_controller {

using device_handler::v1_0::CAsyncOp;
using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CCallback;
using device_handler::v1_0::IDeviceContext;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_ptz_controller::v1_0::CPtzController;
using vorn_utility::v1_0::CFunction;

// The clock of the move refresh, and its periods.
struct SRefreshTimes {
    boost::function<std::uint64_t()> now = vorn_utility::v1_0::gettime; // milliseconds
    std::uint64_t resendAfter = 1000;                                   // since the move was last sent
    std::chrono::milliseconds checkPeriod = std::chrono::milliseconds(200);
};

// The PTZ controller of a camera. Continuous moves are its own: on a camera that stops by itself (one whose
// highest pan speed is not exactly 256) the worker sends a move that is in force again about once a second.
//
// Threads, ownership and results are those of CPtzController.
class CPanasonicPtzController : public CPtzController {
public:
    // The arguments but the last are CBasePtzController's.
    CPanasonicPtzController(boost::shared_ptr<IDeviceContext>& context, int index, char const* address,
                            boost::shared_ptr<CVornCamera>& camera, unsigned flags, SRefreshTimes times = {});
    ~CPanasonicPtzController() override;

    using CPtzController::moveAt;
    CAsyncOp moveAt(int pan, int tilt, int zoom, const CCallback& callback) override;
    CAsyncOp moveFocusAt(int speed, const CCallback& callback) override;
    CAsyncOp moveIrisAt(int speed, const CCallback& callback) override;

    // What the commands do, on the worker. The credentials are those of the moment in which the command was
    // given; the camera asks for its own.
    void moveAtSync(int pan, int tilt, int zoom, const CCallback& callback,
                    CAuthentication& credentials) override;
    void moveFocusAtSync(int speed, const CCallback& callback, CAuthentication& credentials);
    void moveIrisAtSync(int speed, const CCallback& callback, CAuthentication& credentials);

protected:
    void ThreadRun() override;

private:
    using SyncMove = boost::function<void(CAuthentication& credentials)>;
    CAsyncOp queueMove(SyncMove move, const CCallback& callback);
    void waitForCommand();
    void refreshMove();

    const SRefreshTimes times_;
    bool moveRefreshActive_ = false;              // guarded by mutex()
    boost::shared_ptr<CFunction> refreshCommand_; // guarded by mutex()
    std::uint64_t lastSendTime_ = 0;              // guarded by mutex()
};

} // namespace corvane::panasonic_ptz_controller
