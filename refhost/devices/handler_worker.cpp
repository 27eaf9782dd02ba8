#include "refhost/devices/handler_worker.h"

#include <boost/make_shared.hpp>

#include <exception>

namespace corvane::vorn_handler::v1_0 {
namespace {

using device_handler::v1_0::LogFailure;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using vorn_utility::v1_0::CAsyncCmdDetails;
using vorn_utility::v1_0::CThreadAsyncQueue;

// The callback must hear of the operation, whatever becomes of it.
CError OutcomeOf(const std::function<CError(std::vector<CString>&)>& operation,
                 std::vector<CString>& values) {
    try {
        return operation(values);
    } catch (const std::exception& error) {
        values.clear();
        return {RtnCode::OperationFailed, Origin::General, error.what()};
    }
}

} // namespace

CHandlerWorker::CHandlerWorker(IHandlerContext& context)
    : context_(context), queue_(boost::make_shared<CThreadAsyncQueue>()) {}

CHandlerWorker::~CHandlerWorker() {
    stop();
}

CAsyncOp CHandlerWorker::submit(const Operation& operation, const CCallback& callback) {
    {
        const std::lock_guard<std::mutex> lock(startMutex_);
        if (!isStopping_ && !thread_.joinable())
            thread_ = std::thread([this] { run(); });
    }
    return queue_->push_back(
        boost::make_shared<CAsyncCmdDetails>([=] { complete(operation, callback); }, callback));
}

void CHandlerWorker::stop() {
    {
        const std::lock_guard<std::mutex> lock(startMutex_);
        isStopping_ = true;
    }
    queue_->close();
    queue_->notify();
    if (workerId_ == std::this_thread::get_id())
        return;
    const std::lock_guard<std::mutex> lock(joinMutex_);
    if (thread_.joinable())
        thread_.join();
}

bool CHandlerWorker::isEnding() const {
    return isStopping_ && workerId_ == std::this_thread::get_id();
}

void CHandlerWorker::run() {
    workerId_ = std::this_thread::get_id();
    while (!isStopping_) {
        queue_->wait();
        const boost::shared_ptr<CAsyncCmdDetails> details = queue_->take();
        if (details && details->begin())
            details->command();
    }
}

void CHandlerWorker::complete(const Operation& operation, const CCallback& callback) const {
    std::vector<CString> values;
    const CError result = OutcomeOf(operation, values);
    try {
        Call(callback, result, values);
    } catch (const std::exception& error) {
        context_.getLog()(LogFailure, "a completion callback of the device handler threw: %s", error.what());
    }
}

} // namespace corvane::vorn_handler::v1_0
