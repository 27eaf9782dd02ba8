#include "service/camera_head.h"

#include "site/calls/call.h"

#include <utility>

namespace corvane::service {
namespace {

constexpr int StopAttempts = 20; // a camera that is away for some seconds must not go on moving after it
constexpr std::chrono::milliseconds PauseAfterFailure{500};

} // namespace

std::optional<Time> CCameraHead::move(const SHeadClient& client, const SMovement& movement,
                                      std::string& holder) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (holder_ && holder_->key != client.key) {
            holder = holder_->name;
            return std::nullopt;
        }
        holder_ = client;
        wanted_ = movement;
        until_ = Clock::now() + Longest;
    }
    clock_.add(
        [weak = weak_from_this()] {
            if (const auto head = weak.lock())
                head->expire();
        },
        Longest);
    send();
    return std::chrono::system_clock::now() + Longest;
}

bool CCameraHead::stop(const SHeadClient& client, std::string& holder) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (holder_ && holder_->key != client.key) {
            holder = holder_->name;
            return false;
        }
        holder_.reset();
        wanted_ = {};
        stopsLeft_ = StopAttempts;
    }
    send();
    return true;
}

bool CCameraHead::isFree(const SHeadClient& client, std::string& holder) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!holder_ || holder_->key == client.key)
        return true;
    holder = holder_->name;
    return false;
}

void CCameraHead::end() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        holder_.reset();
        wanted_ = {};
        stopsLeft_ = StopAttempts;
    }
    send();
}

void CCameraHead::expire() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!holder_ || Clock::now() < until_)
            return;
        holder_.reset();
        wanted_ = {};
        stopsLeft_ = StopAttempts;
    }
    send();
}

// One command at a time; of what is wanted meanwhile only the newest goes out. The session stays in `moving_`
// until it is answered, since the last to let go of it must not be the callback: that is on a thread of the
// session's own.
void CCameraHead::send() {
    SMovement movement;
    CKeptCamera::Session session;
    CKeptCamera::Session before;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isUnderWay_ || wanted_ == sent_)
            return;
        session = camera_->session();
        if (!session)
            session = moving_;
        if (!session && (!wanted_.isNone() || --stopsLeft_ <= 0))
            return;
        isUnderWay_ = true;
        movement = wanted_;
        before = std::exchange(moving_, session);
    }
    letGo(std::move(before));
    if (!session)
        return answered(movement, false);
    try {
        site::StartCall(
            session->session().operations(),
            {"controller.moveAt",
             {std::to_string(movement.pan), std::to_string(movement.tilt), std::to_string(movement.zoom)}},
            [self = shared_from_this(), movement](const site::STimedAnswer& answer) {
                self->clock_.add(
                    [self, movement, isDone = answer.succeeded()] { self->answered(movement, isDone); });
            });
    } catch (const site::COperationError&) { // the camera has no head
        answered(movement, true);
    }
}

void CCameraHead::answered(const SMovement& sent, bool isDone) {
    std::chrono::milliseconds after{0};
    CKeptCamera::Session still;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isUnderWay_ = false;
        // A movement that failed may move all the same; a stop is tried again.
        if (isDone || !sent.isNone() || --stopsLeft_ <= 0)
            sent_ = sent;
        else
            after = PauseAfterFailure;
        if (sent_.isNone())
            still = std::exchange(moving_, nullptr);
    }
    changed_.notify_all();
    letGo(std::move(still));
    clock_.add([self = shared_from_this()] { self->send(); }, after);
}

// The last to have a session waits for its end, and others for the clock.
void CCameraHead::letGo(CKeptCamera::Session session) {
    if (session)
        calls_.add([session = std::move(session)] {});
}

void CCameraHead::awaitStill(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, deadline, [this] { return !isUnderWay_ && wanted_ == sent_; });
}

} // namespace corvane::service
