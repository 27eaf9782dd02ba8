#pragma once

#include "tools/vornhost/invocation.h"

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
    void start(const device_handler::v1_0::COperationRegistry& operations, const SCall& call);

    // Waits for the answers that have not come yet.
    void wait();

    // Of the answers that have come.
    bool allSucceeded() const;

private:
    void answered(const SCall& call, const STimedAnswer& answer);
    void ended();

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    int pending_ = 0;
    bool allSucceeded_ = true;
};

} // namespace corvane::vornhost
