#include "benchmarks/soak/crowd.h"

#include <utility>

namespace corvane::bench {

CCrowd::~CCrowd() {
    become(State::Ended);
    for (std::thread& thread : threads_)
        thread.join();
}

void CCrowd::add(std::function<void()> act) {
    threads_.emplace_back([this, act = std::move(act)] { run(act); });
}

void CCrowd::halt() {
    become(State::Halted);
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return halted_ == threads_.size(); });
}

void CCrowd::goOn() {
    become(State::Running);
}

void CCrowd::become(State state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    state_ = state;
    changed_.notify_all();
}

void CCrowd::run(const std::function<void()>& act) {
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            if (state_ == State::Halted) {
                ++halted_;
                changed_.notify_all();
                changed_.wait(lock, [this] { return state_ != State::Halted; });
                --halted_;
            }
            if (state_ == State::Ended)
                return;
        }
        act();
    }
}

} // namespace corvane::bench
