#pragma once

#include <csignal>
#include <thread>

namespace corvane::vornhost {

// Ends the program at once on SIGINT and SIGTERM, whatever its threads are waiting for, by the signal's
// default action, so that a shell sees how it ended. Made in the first line of the program, before any other
// thread, because it blocks the two signals in all of them.
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

} // namespace corvane::vornhost
