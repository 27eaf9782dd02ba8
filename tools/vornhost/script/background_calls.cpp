#include "tools/vornhost/script/background_calls.h"

#include "site/base/standard_streams.h"
#include "site/calls/answer_text.h"
#include "tools/vornhost/names.h"

namespace corvane::vornhost {

CBackgroundCalls::~CBackgroundCalls() {
    wait();
}

void CBackgroundCalls::start(const CDeviceSession& session, const SCall& call) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++pending_;
    }
    try {
        handles_.push_back(
            StartCall(session.operations(), call, [this, &session, call](const STimedAnswer& answer) {
                answered(session, call, answer);
            }));
    } catch (...) {
        ended();
        throw;
    }
}

bool CBackgroundCalls::cancel(std::size_t nthNewest) const {
    if (nthNewest < 1 || nthNewest > handles_.size())
        return false;
    handles_[handles_.size() - nthNewest].cancel();
    return true;
}

void CBackgroundCalls::finish() {
    wait();
    handles_.clear();
}

void CBackgroundCalls::answered(const CDeviceSession& session, const SCall& call,
                                const STimedAnswer& answer) {
    // What was taken back is no fault of the camera's.
    const bool isFault =
        !answer.succeeded() && answer.answer.error->getText() != device_handler::v1_0::Cancelled().getText();
    const SAnsweredCall told{answer,
                             isFault ? ProblemOf(session, call.operation, answer.answer) : std::nullopt};
    WriteOutput(JsonLine(told.toJson(call)));
    if (!answer.succeeded()) {
        const std::lock_guard<std::mutex> lock(mutex_);
        allSucceeded_ = false;
    }
    ended();
}

void CBackgroundCalls::ended() {
    // Told under the lock: a waiter that sees 0 may destroy this.
    const std::lock_guard<std::mutex> lock(mutex_);
    --pending_;
    changed_.notify_all();
}

void CBackgroundCalls::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return pending_ == 0; });
}

bool CBackgroundCalls::allSucceeded() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return allSucceeded_;
}

} // namespace corvane::vornhost
