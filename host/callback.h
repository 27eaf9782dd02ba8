#pragma once

#include "host/error.h"
#include "host/text.h"

#include <boost/function.hpp>

#include <utility>
#include <vector>

namespace corvane::device_handler::v1_0 {

// The completion callback of an asynchronous operation. It runs exactly once (once more when it throws), on
// the worker thread of the object that was asked; when the operation is taken back, on the thread that does
// so, or that stops or destroys the object. It must not destroy that object, nor ask it again when it
// receives a cancellation.
class CCallback {
public:
    using Function = boost::function<void(const CError& error, const std::vector<CString>& values)>;

    CCallback() = default;
    explicit CCallback(Function function) : function_(std::move(function)) {}

    const Function& function() const { return function_; }

private:
    Function function_;
};

// What the callback of an operation that was taken back receives.
inline CError Cancelled() {
    return {RtnCode::OperationFailed, Origin::General, "cancelled"};
}

// Delivers the outcome of an operation, and the values it returned, to its callback. An empty callback is
// allowed and does nothing. What the callback throws reaches the caller.
inline void Call(const CCallback& callback, const CError& error, const std::vector<CString>& values = {}) {
    if (callback.function())
        callback.function()(error, values);
}

// The handle of an asynchronous operation. Copies refer to the same operation.
class CAsyncOp {
public:
    CAsyncOp() = default;
    explicit CAsyncOp(boost::function<void()> cancel) : cancel_(std::move(cancel)) {}

    // Takes the operation back if it has not started; its callback then receives the cancellation. May be
    // called from any thread, repeatedly, and after the object that was asked is gone, but not after its
    // plug-in has been unloaded.
    void cancel() const {
        if (cancel_)
            cancel_();
    }

private:
    boost::function<void()> cancel_;
};

} // namespace corvane::device_handler::v1_0
