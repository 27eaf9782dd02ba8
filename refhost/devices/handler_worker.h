#pragma once

#include "host/async_queue.h"
#include "host/handler.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace corvane::vorn_handler::v1_0 {

// The handler's one thread for asynchronous operations, started when the first is asked for. Callable from
// any thread.
class CHandlerWorker {
public:
    using Operation = std::function<CError(std::vector<CString>& values)>;

    explicit CHandlerWorker(IHandlerContext& context);
    ~CHandlerWorker();
    CHandlerWorker(const CHandlerWorker&) = delete;
    CHandlerWorker& operator=(const CHandlerWorker&) = delete;

    // Runs the operation on the worker and then the callback with what came of it; after `stop` the callback
    // is told of the cancellation before the return.
    CAsyncOp submit(const Operation& operation, const CCallback& callback);

    // Cancels what waits and ends the worker. Returns when it has ended, unless a callback asks for it: the
    // worker then ends after that callback, and is joined by the destructor.
    void stop();

    // Whether this thread is the worker and has been told to end.
    bool isEnding() const;

    // Held by whoever queries a device: a handler queries one at a time.
    std::mutex& queryMutex() { return queryMutex_; }

private:
    void run();
    void complete(const Operation& operation, const CCallback& callback) const;

    IHandlerContext& context_;
    // Shared with the handles of the operations, which may outlive the worker.
    const boost::shared_ptr<vorn_utility::v1_0::CThreadAsyncQueue> queue_;
    std::atomic<bool> isStopping_{false};
    std::atomic<std::thread::id> workerId_{};
    std::mutex startMutex_; // guards the start of thread_, after which nothing starts it again
    std::mutex joinMutex_;  // held while thread_ is joined, so that every stopping thread waits
    std::thread thread_;
    std::mutex queryMutex_;
};

// What the base of a handler keeps.
struct CVornHandler::SBase {
    explicit SBase(IHandlerContext* handlerContext);

    IHandlerContext* const context;
    const boost::shared_ptr<CVornModelList> modelList;
    CAuthentication defaultAuthentication;
    CameraFactory cameraFactory;
    CHandlerWorker worker;
};

} // namespace corvane::vorn_handler::v1_0
