#pragma once

#include <functional>
#include <mutex>
#include <vector>

namespace corvane::vornhost {

// Work that other threads leave for the thread that owns something; that thread waits with poll().
class CTaskInbox {
public:
    // Throws std::system_error.
    CTaskInbox();
    ~CTaskInbox();
    CTaskInbox(const CTaskInbox&) = delete;
    CTaskInbox& operator=(const CTaskInbox&) = delete;

    // Callable from any thread; returns at once.
    void post(std::function<void()> task);

    // Readable while tasks wait.
    int file() const { return file_; }
    // Runs the tasks that wait, in the order in which they came. On the owner's thread.
    void run();

private:
    const int file_;
    std::mutex mutex_; // guards tasks_
    std::vector<std::function<void()>> tasks_;
};

} // namespace corvane::vornhost
