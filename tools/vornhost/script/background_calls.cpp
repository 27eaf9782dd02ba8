#include "tools/vornhost/script/background_calls.h"

#include "tools/vornhost/calls/answer_text.h"
#include "tools/vornhost/console/standard_streams.h"

namespace corvane::vornhost {

CBackgroundCalls::~CBackgroundCalls() {
    wait();
}

void CBackgroundCalls::start(const COperationRegistry& operations, const SCall& call) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++pending_;
    }
    try {
        handles_.push_back(StartCall(operations, call,
                                     [this, call](const STimedAnswer& answer) { answered(call, answer); }));
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

void CBackgroundCalls::answered(const SCall& call, const STimedAnswer& answer) {
    WriteOutput(JsonLine(AnswerJson(call, answer)));
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
