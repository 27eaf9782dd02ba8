#pragma once

#include <csignal>
#include <functional>
#include <thread>

namespace corvane::vornhost {

// Ends the program at once on SIGINT and SIGTERM, whatever its threads are waiting for, by the signal's
// default action, so that a shell sees how it ended, unless a CEndRequest takes the signal. Made in the first
// line of the program, before any other thread, because it blocks the two signals in all of them.
class CSignalThread {
public:
    CSignalThread();
    ~CSignalThread();
    CSignalThread(const CSignalThread&) = delete;
    CSignalThread& operator=(const CSignalThread&) = delete;

private:
    void run() const;

    sigset_t awaited_; // SIGINT, SIGTERM, and SIGUSR1 to end the thread
    std::thread thread_;
};

// Which signals a CEndRequest takes: the first alone, so that the second ends the program, or every one.
enum class SignalsTaken { First, Every };

// SIGHUP waits from now on for who takes it, in this thread and in those that it makes, and in a program that
// it becomes.
void BlockHangUp();

// While it lives, SIGINT and SIGTERM call `request` instead of ending the program, on the signals' thread; it
// must return soon. A later one takes the place of the one before for good.
class CEndRequest {
public:
    explicit CEndRequest(std::function<void()> request, SignalsTaken taken = SignalsTaken::First);
    // Waits for a call that is under way.
    ~CEndRequest();
    CEndRequest(const CEndRequest&) = delete;
    CEndRequest& operator=(const CEndRequest&) = delete;
};

} // namespace corvane::vornhost
