#include "site/base/standard_streams.h"

#include "refhost/base/log.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <mutex>
#include <pthread.h>
#include <system_error>
#include <unistd.h>

#ifdef VORN_UNDER_ASAN
#include <sanitizer/lsan_interface.h>
#endif

namespace corvane::site {
namespace {

std::timed_mutex& OutputMutex() {                    // guards standard output while a line is written
    static auto* const mutex = new std::timed_mutex; // never destroyed: late threads may still write
    return *mutex;
}

std::atomic<bool> hasSpoken{false};

// The error number of the write that failed, or 0.
int WriteAll(int file, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        hasSpoken = true;
        const ssize_t count = ::write(file, text.data() + written, text.size() - written);
        if (count >= 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

[[noreturn]] void EndByDefaultAction(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    std::raise(signal);
    std::abort();
}

} // namespace

void WriteOutput(const std::string& lines) {
    const std::lock_guard<std::timed_mutex> lock(OutputMutex());
    const int failure = WriteAll(STDOUT_FILENO, lines);
    if (failure == EPIPE)
        EndByDefaultAction(SIGPIPE);
    if (failure != 0) {
        WriteMessage(std::string("vornhost: standard output cannot be written: ") +
                     std::generic_category().message(failure) + "\n");
        std::_Exit(static_cast<int>(ExitStatus::CallFailed));
    }
}

void WriteMessage(const std::string& lines) {
    WriteAll(STDERR_FILENO, refhost::MaskSecrets(lines));
}

void OccupyClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0)
            (void)::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

bool HasSpoken() {
    return hasSpoken;
}

void EndProcess(ExitStatus status) {
    std::cout.flush(); // help and version come this way
#ifdef VORN_UNDER_ASAN
    __lsan_do_leak_check(); // what the ordinary end would have done
#endif
    std::_Exit(static_cast<int>(status));
}

void DieBySignal(int signal) {
    // Kept locked: nobody starts another line.
    (void)OutputMutex().try_lock_for(std::chrono::milliseconds(500));
    EndByDefaultAction(signal);
}

} // namespace corvane::site
