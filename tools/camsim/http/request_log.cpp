#include "http/request_log.h"

namespace camsim {

namespace {

size_t bytesOf(const LoggedRequest& request) {
    return sizeof request + request.method.size() + request.target.size() + request.body.size() +
           request.authorization.size() + request.fault.size();
}

} // namespace

uint64_t RequestLog::add(LoggedRequest request) {
    if (request.body.size() > capacity_.body) {
        request.body = request.body.substr(0, capacity_.body);
        request.bodyIsCut = true;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    request.id = ++last_;
    bytes_ += bytesOf(request);
    requests_.push_back(std::move(request));
    while (!requests_.empty() && (requests_.size() > capacity_.requests || bytes_ > capacity_.bytes)) {
        bytes_ -= bytesOf(requests_.front());
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
    Excerpt excerpt{{}, last_, dropped_, false};
    size_t bytes = 0;
    for (const LoggedRequest& request : requests_) {
        if (request.id <= after || (camera && *camera != request.camera))
            continue;
        bytes += bytesOf(request);
        if (bytes > capacity_.excerpt && !excerpt.requests.empty()) {
            excerpt.more = true;
            break;
        }
        excerpt.requests.push_back(request);
    }
    return excerpt;
}

void RequestLog::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.clear();
    bytes_ = 0;
    dropped_ = 0;
}

} // namespace camsim
