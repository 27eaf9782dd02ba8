#pragma once

#include "service/http_message.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace corvane::service {

// Text that somebody writes while a client reads it. Callable from any thread.
class CLineBuffer {
public:
    void add(const std::string& text);
    void end();

    IBodySource::Step read(char* buffer, std::size_t size, std::size_t& count);
    void setWaker(std::function<void()> wake);

private:
    void wake() const;

    mutable std::mutex mutex_; // guards what follows
    std::string text_;
    bool isEnded_ = false;
    std::function<void()> wake_;
};

class CLineSource : public IBodySource {
public:
    explicit CLineSource(std::shared_ptr<CLineBuffer> lines) : lines_(std::move(lines)) {}

    Step read(char* buffer, std::size_t size, std::size_t& count) override {
        return lines_->read(buffer, size, count);
    }
    void setWaker(std::function<void()> wake) override { lines_->setWaker(std::move(wake)); }

private:
    const std::shared_ptr<CLineBuffer> lines_;
};

} // namespace corvane::service
