#include "service/line_source.h"

#include <algorithm>
#include <cstring>

namespace corvane::service {

void CLineBuffer::add(const std::string& text) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        text_ += text;
    }
    wake();
}

void CLineBuffer::end() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
    }
    wake();
}

IBodySource::Step CLineBuffer::read(char* buffer, std::size_t size, std::size_t& count) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (text_.empty())
        return isEnded_ ? IBodySource::Step::End : IBodySource::Step::Wait;
    count = std::min(size, text_.size());
    std::memcpy(buffer, text_.data(), count);
    text_.erase(0, count);
    return IBodySource::Step::Some;
}

void CLineBuffer::setWaker(std::function<void()> wake) {
    const std::lock_guard<std::mutex> lock(mutex_);
    wake_ = std::move(wake);
}

void CLineBuffer::wake() const {
    std::function<void()> wake;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        wake = wake_;
    }
    if (wake)
        wake();
}

} // namespace corvane::service
