#pragma once

#include "site/session/answered_call.h"
#include "tools/vornhost/names.h"

#include <condition_variable>
#include <mutex>

namespace corvane::vornhost {

// Calls whose answers are written when they come, while the script goes on. Belongs to one thread; the
// answers come on others.
class CBackgroundCalls {
public:
    // Waits for every answer.
    ~CBackgroundCalls();

    // Throws COperationError when the call cannot be made. A synchronous operation is answered before the
    // return.
    void start(const CDeviceSession& session, const SCall& call);

    // Takes back the newest call for 1, the one before it for 2, and so on, as far as it has not begun; false
    // when there have not been so many.
    bool cancel(std::size_t nthNewest) const;

    // Waits for the answers that have not come yet, and forgets the calls.
    void finish();

    // Of the answers that have come.
    bool allSucceeded() const;

private:
    void answered(const CDeviceSession& session, const SCall& call, const STimedAnswer& answer);
    void ended();
    void wait();

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    int pending_ = 0;
    bool allSucceeded_ = true;

    std::vector<CAsyncOp> handles_; // of every call, oldest first
};

} // namespace corvane::vornhost
