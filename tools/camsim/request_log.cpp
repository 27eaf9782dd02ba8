#include "request_log.h"

namespace camsim {

uint64_t RequestLog::add(LoggedRequest request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    request.id = ++last_;
    requests_.push_back(std::move(request));
    if (requests_.size() > capacity_) {
        requests_.pop_front();
        ++dropped_;
    }
    return last_;
}

void RequestLog::answered(uint64_t id, unsigned status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (requests_.empty() || id < requests_.front().id)
        return;
    requests_[id - requests_.front().id].status = status;
}

RequestLog::Excerpt RequestLog::read(std::optional<size_t> camera, uint64_t after) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    Excerpt excerpt{{}, last_, dropped_};
    for (const LoggedRequest& request : requests_)
        if (request.id > after && (!camera || *camera == request.camera))
            excerpt.requests.push_back(request);
    return excerpt;
}

void RequestLog::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.clear();
    dropped_ = 0;
}

} // namespace camsim
