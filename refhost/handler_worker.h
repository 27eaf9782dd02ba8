#pragma once

#include "host/handler.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace corvane::vorn_handler::v1_0 {

// The handler's one thread for asynchronous operations, started when the first is asked for. Callable from
// any thread.
class CVornHandler::CWorker {
public:
    using Operation = std::function<CError(std::vector<CString>& values)>;

    explicit CWorker(IHandlerContext& context);
    ~CWorker();
    CWorker(const CWorker&) = delete;
    CWorker& operator=(const CWorker&) = delete;

    // Runs the operation on the worker and then the callback with what came of it; after `stop` the callback
    // is told of the cancellation before the return.
    CAsyncOp submit(Operation operation, const CCallback& callback);

    // Cancels what waits and ends the worker. Returns when it has ended, unless a callback asks for it: the
    // worker then ends after that callback, and is joined by the destructor.
    void stop();

    // Whether this thread is the worker and has been told to end.
    bool isEnding() const;

    // Held by whoever queries a device: a handler queries one at a time.
    std::mutex& queryMutex() { return queryMutex_; }

private:
    struct SEntry {
        Operation operation;
        CCallback callback;
        bool cancelled = false; // guarded by the queue's mutex
    };
    // Shared with the handles of the operations, which may outlive the worker.
    struct SQueue {
        std::mutex mutex; // guards everything below
        std::condition_variable changed;
        std::deque<std::shared_ptr<SEntry>> waiting;
        bool stopping = false;
    };

    void run() const;
    void complete(const SEntry& entry, bool cancelled) const;

    IHandlerContext& context_;
    const std::shared_ptr<SQueue> queue_ = std::make_shared<SQueue>();
    std::mutex joinMutex_; // held while the thread is joined, so that every stopping thread waits
    std::thread thread_;   // set under the queue's mutex, once; joined under joinMutex_ when stopping
    std::mutex queryMutex_;
};

} // namespace corvane::vorn_handler::v1_0
