#include "ptz/ptz_controller.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace corvane::panasonic_ptz_controller {

using vorn_utility::v1_0::CAsyncCmdDetails;

namespace {

constexpr int NeverRefreshedPanSpeed = 256;

} // namespace

CPanasonicPtzController::CPanasonicPtzController(boost::shared_ptr<IDeviceContext>& context, int index,
                                                 char const* address, boost::shared_ptr<CVornCamera>& camera,
                                                 unsigned flags, SRefreshTimes times)
    : CPtzController(context, index, address, camera, flags), times_(std::move(times)) {}

CPanasonicPtzController::~CPanasonicPtzController() {
    stop(); // the worker uses what is destroyed next
}

CAsyncOp CPanasonicPtzController::moveAt(int pan, int tilt, int zoom, const CCallback& callback) {
    return queueMove(
        [=](CAuthentication& credentials) { moveAtSync(pan, tilt, zoom, callback, credentials); }, callback);
}

CAsyncOp CPanasonicPtzController::moveFocusAt(int speed, const CCallback& callback) {
    return queueMove([=](CAuthentication& credentials) { moveFocusAtSync(speed, callback, credentials); },
                     callback);
}

CAsyncOp CPanasonicPtzController::moveIrisAt(int speed, const CCallback& callback) {
    return queueMove([=](CAuthentication& credentials) { moveIrisAtSync(speed, callback, credentials); },
                     callback);
}

CAsyncOp CPanasonicPtzController::queueMove(SyncMove move, const CCallback& callback) {
    const CFunction command = [move = std::move(move), credentials = refreshCredentials()]() mutable {
        move(credentials);
    };
    return queue().push_back(boost::make_shared<CAsyncCmdDetails>(command, callback));
}

void CPanasonicPtzController::moveAtSync(int pan, int tilt, int zoom, const CCallback& callback,
                                         CAuthentication& /*credentials*/) {
    const auto move = [this, pan, tilt, zoom] { return camera().setContinuousPtz(index(), pan, tilt, zoom); };
    const device_handler::v1_0::CError error = move();
    if (camera().ptzModel().panSpeed.maximum != NeverRefreshedPanSpeed) {
        const std::lock_guard<std::mutex> guard(mutex());
        moveRefreshActive_ = pan != 0 || tilt != 0 || zoom != 0;
        if (moveRefreshActive_) {
            lastSendTime_ = times_.now();
            refreshCommand_ = boost::make_shared<CFunction>([move] { (void)move(); });
        }
    }
    queue().notify(); // the worker may have to wait otherwise now
    Call(callback, error);
}

void CPanasonicPtzController::moveFocusAtSync(int speed, const CCallback& callback,
                                              CAuthentication& /*credentials*/) {
    Call(callback, camera().setContinuousPtzFocus(index(), speed));
}

void CPanasonicPtzController::moveIrisAtSync(int speed, const CCallback& callback,
                                             CAuthentication& /*credentials*/) {
    Call(callback, camera().setContinuousPtzIris(index(), speed));
}

void CPanasonicPtzController::ThreadRun() {
    while (isRunning()) {
        waitForCommand();
        runCommand(queue().take());
        refreshMove();
    }
}

void CPanasonicPtzController::waitForCommand() {
    bool isMoving = false;
    {
        const std::lock_guard<std::mutex> guard(mutex());
        isMoving = moveRefreshActive_;
    }
    // Without a move to refresh there is nothing to wake up for but a command.
    isMoving ? queue().wait(times_.checkPeriod) : queue().wait();
}

// Holds the mutex while it sends.
void CPanasonicPtzController::refreshMove() {
    const std::lock_guard<std::mutex> guard(mutex());
    if (!moveRefreshActive_)
        return;
    const std::uint64_t now = times_.now();
    if (now <= lastSendTime_ + times_.resendAfter)
        return;
    lastSendTime_ = now;
    if (!refreshCommand_)
        return;
    try {
        (*refreshCommand_)();
    } catch (...) { // NOLINT(bugprone-empty-catch): nobody waits for a refresh, and the next one follows
    }
}

} // namespace corvane::panasonic_ptz_controller
