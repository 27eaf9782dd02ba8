#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corvane::bench {

// Threads that each do the same again and again, and stand still together when they are to.
class CCrowd {
public:
    CCrowd() = default;
    // Ends them.
    ~CCrowd();
    CCrowd(const CCrowd&) = delete;
    CCrowd& operator=(const CCrowd&) = delete;

    // Adds a thread. `act` is called again and again, and must not throw.
    void add(std::function<void()> act);

    // Until each has come to the end of what it is doing; they stand still from then on.
    void halt();
    void goOn();

private:
    enum class State { Running, Halted, Ended };

    void run(const std::function<void()>& act);
    void become(State state);

    std::mutex mutex_; // guards what follows but the threads
    std::condition_variable changed_;
    State state_ = State::Running;
    std::size_t halted_ = 0;
    std::vector<std::thread> threads_;
};

} // namespace corvane::bench
