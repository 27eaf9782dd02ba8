#include "http/request_log.h"

namespace camsim {

namespace {

// What a byte takes at most in JSON, where control characters become \u0001 and bytes that are no UTF-8 a
// replacement character.
size_t EscapedSize(unsigned char byte) {
    if (byte < ' ')
        return 6;
    if (byte == '"' || byte == '\\')
        return 2;
    return byte < 0x80 ? 1 : 3;
}

size_t EscapedSize(const std::string& text) {
    size_t size = 0;
    for (const char byte : text)
        size += EscapedSize(static_cast<unsigned char>(byte));
    return size;
}

size_t CostOf(const SLoggedRequest& request) {
    return sizeof request + EscapedSize(request.method) + EscapedSize(request.target) +
           EscapedSize(request.body) + request.authorization.size() + request.fault.size();
}

} // namespace

uint64_t CRequestLog::add(SLoggedRequest request) {
    if (request.body.size() > capacity_.body) {
        request.body = request.body.substr(0, capacity_.body);
        request.bodyIsCut = true;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    request.id = ++last_;
    request.cost = CostOf(request);
    bytes_ += request.cost;
    requests_.push_back(std::move(request));
    while (!requests_.empty() && (requests_.size() > capacity_.requests || bytes_ > capacity_.bytes)) {
        bytes_ -= requests_.front().cost;
        requests_.pop_front();
        ++dropped_;
    }
    return last_;
}

void CRequestLog::answered(uint64_t id, unsigned status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (requests_.empty() || id < requests_.front().id)
        return;
    requests_[id - requests_.front().id].status = status;
}

CRequestLog::SExcerpt CRequestLog::read(std::optional<size_t> camera, uint64_t after) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    SExcerpt excerpt{{}, last_, dropped_, false};
    size_t bytes = 0;
    for (const SLoggedRequest& request : requests_) {
        if (request.id <= after || (camera && *camera != request.camera))
            continue;
        bytes += request.cost;
        if (bytes > capacity_.excerpt && !excerpt.requests.empty()) {
            excerpt.more = true;
            break;
        }
        excerpt.requests.push_back(request);
    }
    return excerpt;
}

void CRequestLog::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.clear();
    bytes_ = 0;
    dropped_ = 0;
}

} // namespace camsim
