#pragma once

#include <exception>
#include <utility>

namespace corvane::refhost {

// What a callback of libcurl threw. It must not pass through libcurl, which would leave its connection
// behind.
//
// Used on the thread of the transfer.
class CContainedFailure {
public:
    // What `act` returns; `otherwise` when it throws.
    template <class Result, class Act>
    Result contain(Result otherwise, Act act) noexcept {
        try {
            return act();
        } catch (...) {
            failure_ = std::current_exception();
            return otherwise;
        }
    }
    // Behind the transfer: throws what was thrown in it, if anything was.
    void rethrow() {
        if (const std::exception_ptr failure = std::exchange(failure_, nullptr))
            std::rethrow_exception(failure);
    }

private:
    std::exception_ptr failure_;
};

} // namespace corvane::refhost
