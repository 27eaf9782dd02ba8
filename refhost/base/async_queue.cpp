#include "host/async_queue.h"

#include <chrono>

namespace corvane::vorn_utility::v1_0 {
namespace {

void TellCancelled(CAsyncCmdDetails& details) {
    if (!details.abandon())
        return;
    try {
        Call(details.callback, device_handler::v1_0::Cancelled());
    } catch (...) { // NOLINT(bugprone-empty-catch): whoever cancels has nothing to do with it
    }
}

} // namespace

void Op_Cancel(const boost::shared_ptr<CAsyncCmdDetails>& details) {
    TellCancelled(*details);
}

void Op_NotifyCanceled(const boost::shared_ptr<CAsyncCmdDetails>& details) {
    TellCancelled(*details);
}

void CThreadAsyncQueue::wait() {
    std::unique_lock<std::mutex> lock(mutex());
    changed_.wait(lock, [this] { return !isEmpty() || isNotified_; });
    isNotified_ = false;
}

void CThreadAsyncQueue::wait(std::chrono::milliseconds atMost) {
    std::unique_lock<std::mutex> lock(mutex());
    changed_.wait_for(lock, atMost, [this] { return !isEmpty() || isNotified_; });
    isNotified_ = false;
}

void CThreadAsyncQueue::notify() {
    {
        const std::lock_guard<std::mutex> guard(mutex());
        isNotified_ = true;
    }
    changed_.notify_one(); // without the lock, for which the worker would have to wait at once again
}

} // namespace corvane::vorn_utility::v1_0
