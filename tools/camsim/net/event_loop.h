#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace camsim {

// One thread that waits on file descriptors and on the clock and runs what was registered for them.
// Everything but the tasks themselves may be called on any thread, the loop's own included.
class CEventLoop {
public:
    using Task = std::function<void()>;
    using TimerId = uint64_t;

    // Throws std::system_error when the system gives no descriptors.
    CEventLoop();
    ~CEventLoop();
    CEventLoop(const CEventLoop&) = delete;
    CEventLoop& operator=(const CEventLoop&) = delete;

    void start();
    // Ends and joins the thread; what is still registered never runs. May be called twice, not on the loop's
    // thread.
    void stop();
    // Whether stop() has been called: a task that takes long must then give up.
    bool isStopping() const { return stopping_; }

    // Runs `task` whenever one of `events` (EPOLLIN, ...) holds for `fd`, which stays the caller's; replaces
    // what was registered for `fd`. Throws std::system_error. A task may run once more while unwatch() is
    // being called on another thread.
    void watch(int fd, uint32_t events, Task task);
    void unwatch(int fd);

    // Runs `task` once, `delay` from now.
    TimerId after(std::chrono::milliseconds delay, Task task);
    // Has no effect on a timer that has run.
    void cancel(TimerId timer);

private:
    using Clock = std::chrono::steady_clock;
    using Deadline = std::pair<Clock::time_point, TimerId>;

    void run();
    void wake();
    int millisecondsToWait();
    void runDueTimers();
    void runTaskOf(int fd);

    const int epoll_;
    const int wakeUp_;
    std::thread thread_;
    std::atomic<bool> stopping_{false};

    std::mutex mutex_;
    std::map<int, std::shared_ptr<Task>> tasks_; // guarded by mutex_; by descriptor
    std::map<Deadline, Task> timers_;            // guarded by mutex_
    std::map<TimerId, Clock::time_point> due_;   // guarded by mutex_; when each timer of timers_ is due
    TimerId lastTimer_ = 0;                      // guarded by mutex_
};

} // namespace camsim
