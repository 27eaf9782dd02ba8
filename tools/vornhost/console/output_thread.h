#pragma once

#include "tools/vornhost/console/task_inbox.h"

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace corvane::vornhost {

// Lines for standard output from threads that must not wait for its reader: a thread of its own writes them,
// whole, between what others write with WriteOutput. A reader that has gone away ends the program as SIGPIPE
// does, even while there is nothing to write. When the reader takes nothing for so long that very much waits,
// further lines are left out, and how many is told on standard error.
class COutputThread {
public:
    COutputThread();
    // Writes what waits, however slow the reader is, unless finish() has been called.
    ~COutputThread();
    COutputThread(const COutputThread&) = delete;
    COutputThread& operator=(const COutputThread&) = delete;

    // `line` with its line end, no longer than PIPE_BUF. Callable from any thread; returns at once.
    void add(const std::string& line);

    // Writes what waits, and joins the thread; what the reader takes nothing of for `patience` is left.
    // Nobody adds any more.
    void finish(std::chrono::milliseconds patience);

private:
    void run();
    void endThread(int patience); // milliseconds; -1: without end
    std::optional<int> nextWait(bool& hasLines);
    void writePiece();

    CTaskInbox inbox_; // wakes the thread
    std::mutex mutex_; // guards what follows
    std::string waiting_;
    long long leftOut_ = 0;
    std::optional<int> patience_; // set: the thread is to end
    std::thread thread_;          // its owner's
};

} // namespace corvane::vornhost
