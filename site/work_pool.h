#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace corvane::site {

// Runs tasks, each when its time has come, on no more threads than it may have; those are started as they are
// needed. Its operations may be called from any thread, also by a task; end() by no task.
class CWorkPool {
public:
    // A task must not throw.
    using Task = std::function<void()>;

    explicit CWorkPool(std::size_t mostThreads) : most_(mostThreads) {}
    ~CWorkPool() { end(); }
    CWorkPool(const CWorkPool&) = delete;
    CWorkPool& operator=(const CWorkPool&) = delete;

    // Throws std::system_error when not even one thread is to be had.
    void add(Task task, std::chrono::milliseconds after = {});

    // Waits for the tasks that have begun; the others are left out, and so is what is added from now on.
    void end();

private:
    using Clock = std::chrono::steady_clock;

    void work();

    const std::size_t most_;
    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::multimap<Clock::time_point, Task> tasks_; // by when they are due
    std::vector<std::thread> threads_;
    std::size_t idle_ = 0;
    bool isEnded_ = false;
};

} // namespace corvane::site
