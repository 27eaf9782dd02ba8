#pragma once

#include "tools/vornhost/console/status_line.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace corvane::vornhost {

// Tells a person what is waited for, from the second second on and with the seconds that it has taken, where
// standard error is a terminal. Callable from any thread, save the constructor and destructor.
class CWaitingLine {
public:
    CWaitingLine();
    ~CWaitingLine();
    CWaitingLine(const CWaitingLine&) = delete;
    CWaitingLine& operator=(const CWaitingLine&) = delete;

    // From here on this is waited for: "waiting for the camera's settings".
    void show(const std::string& what);
    // Nothing is, any more.
    void end();
    // Takes the line away as long as what is returned lives, so that something else can be written.
    std::unique_lock<std::mutex> pause();

private:
    void run();

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    CStatusLine line_{true};
    std::string what_; // empty: nothing
    std::chrono::steady_clock::time_point since_;
    bool isEnding_ = false;
    std::thread thread_; // none where there is no terminal
};

// Does what takes its time, and tells meanwhile what is waited for.
template <class Action>
auto WhileWaiting(const std::string& what, Action action) {
    CWaitingLine waiting;
    waiting.show(what);
    return action();
}

} // namespace corvane::vornhost
