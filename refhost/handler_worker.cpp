#include "refhost/handler_worker.h"

#include <exception>
#include <utility>

namespace corvane::vorn_handler::v1_0 {
namespace {

using device_handler::v1_0::LogFailure;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;

// The callback must hear of the operation, whatever becomes of it.
CError outcomeOf(const std::function<CError(std::vector<CString>&)>& operation,
                 std::vector<CString>& values) {
    try {
        return operation(values);
    } catch (const std::exception& error) {
        values.clear();
        return {RtnCode::OperationFailed, Origin::General, error.what()};
    }
}

} // namespace

CVornHandler::CWorker::CWorker(IHandlerContext& context) : context_(context) {}

CVornHandler::CWorker::~CWorker() {
    stop();
}

CAsyncOp CVornHandler::CWorker::submit(Operation operation, const CCallback& callback) {
    const auto entry = std::make_shared<SEntry>();
    entry->operation = std::move(operation);
    entry->callback = callback;
    {
        const std::lock_guard<std::mutex> lock(queue_->mutex);
        if (!queue_->stopping) {
            if (!thread_.joinable())
                thread_ = std::thread([this] { run(); });
            queue_->waiting.push_back(entry);
            queue_->changed.notify_one();
            return CAsyncOp([queue = queue_, cancelled = std::weak_ptr<SEntry>(entry)] {
                const std::shared_ptr<SEntry> waiting = cancelled.lock();
                const std::lock_guard<std::mutex> cancelLock(queue->mutex);
                if (waiting)
                    waiting->cancelled = true;
            });
        }
    }
    complete(*entry, true);
    return {};
}

void CVornHandler::CWorker::stop() {
    {
        const std::lock_guard<std::mutex> lock(queue_->mutex);
        queue_->stopping = true;
        queue_->changed.notify_one();
        if (thread_.get_id() == std::this_thread::get_id())
            return;
    }
    const std::lock_guard<std::mutex> lock(joinMutex_);
    if (thread_.joinable())
        thread_.join();
}

bool CVornHandler::CWorker::isEnding() const {
    const std::lock_guard<std::mutex> lock(queue_->mutex);
    return queue_->stopping && thread_.get_id() == std::this_thread::get_id();
}

void CVornHandler::CWorker::run() const {
    std::unique_lock<std::mutex> lock(queue_->mutex);
    for (;;) {
        queue_->changed.wait(lock, [this] { return queue_->stopping || !queue_->waiting.empty(); });
        if (queue_->waiting.empty())
            return;
        const std::shared_ptr<SEntry> entry = std::move(queue_->waiting.front());
        queue_->waiting.pop_front();
        const bool cancelled = entry->cancelled || queue_->stopping;
        lock.unlock();
        complete(*entry, cancelled);
        lock.lock();
    }
}

void CVornHandler::CWorker::complete(const SEntry& entry, bool cancelled) const {
    std::vector<CString> values;
    const CError result = cancelled ? device_handler::v1_0::Cancelled() : outcomeOf(entry.operation, values);
    try {
        Call(entry.callback, result, values);
    } catch (const std::exception& error) {
        context_.getLog()(LogFailure, "a completion callback of the device handler threw: %s", error.what());
    }
}

} // namespace corvane::vorn_handler::v1_0
