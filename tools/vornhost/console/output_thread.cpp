#include "tools/vornhost/console/output_thread.h"

#include "site/base/standard_streams.h"
#include "tools/vornhost/names.h"

#include <climits>
#include <csignal>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr std::size_t MostWaiting = 4 << 20; // bytes; some hours of events
constexpr int WithoutEnd = -1;               // of poll()

} // namespace

COutputThread::COutputThread() : thread_([this] { run(); }) {}

COutputThread::~COutputThread() {
    endThread(WithoutEnd);
}

void COutputThread::add(const std::string& line) {
    bool wake = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (waiting_.size() + line.size() > MostWaiting) {
            ++leftOut_;
            return;
        }
        wake = waiting_.empty();
        waiting_ += line;
    }
    if (wake)
        inbox_.post([] {});
}

void COutputThread::finish(std::chrono::milliseconds patience) {
    endThread(static_cast<int>(patience.count()));
}

void COutputThread::endThread(int patience) {
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        patience_ = patience;
    }
    inbox_.post([] {});
    thread_.join();
}

// How long to wait for the reader or for a call; nothing when all is done.
std::optional<int> COutputThread::nextWait(bool& hasLines) {
    const std::lock_guard<std::mutex> lock(mutex_);
    hasLines = !waiting_.empty();
    if (patience_ && !hasLines)
        return std::nullopt;
    return patience_.value_or(WithoutEnd);
}

void COutputThread::run() {
    bool hasLines = false;
    bool isOpen = true; // as far as is known
    while (const std::optional<int> wait = nextWait(hasLines)) {
        pollfd files[] = {
            {inbox_.file(), POLLIN, 0},
            {isOpen || hasLines ? STDOUT_FILENO : -1, static_cast<short>(hasLines ? POLLOUT : 0), 0}};
        const int ready = poll(files, std::size(files), *wait);
        if (ready == 0) // the reader takes nothing
            return;
        if (ready < 0) // a signal came
            continue;
        if (files[0].revents != 0)
            inbox_.run();
        if (files[1].revents & POLLERR)
            DieBySignal(SIGPIPE);
        if (files[1].revents != 0 && hasLines)
            writePiece();
        else if (files[1].revents & (POLLNVAL | POLLHUP))
            isOpen = false;
    }
}

// A pipe that takes anything takes PIPE_BUF bytes without waiting.
void COutputThread::writePiece() {
    std::string piece;
    long long leftOut = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::size_t end = waiting_.rfind('\n', PIPE_BUF - 1);
        if (end == std::string::npos)
            end = waiting_.find('\n');
        piece = waiting_.substr(0, end == std::string::npos ? end : end + 1);
        waiting_.erase(0, piece.size());
        if (waiting_.empty())
            leftOut = std::exchange(leftOut_, 0);
    }
    WriteOutput(piece);
    if (leftOut > 0)
        WriteMessage("vornhost: standard output was not read in time: " + std::to_string(leftOut) +
                     (leftOut == 1 ? " line was" : " lines were") + " left out\n");
}

} // namespace corvane::vornhost
