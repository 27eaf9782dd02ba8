#include "tools/vornhost/signals.h"

#include "tools/vornhost/output.h"

#include <pthread.h>

namespace corvane::vornhost {

CSignalThread::CSignalThread() {
    // Sockets of departed cameras and readers must not kill the program; each write tells its own failure.
    std::signal(SIGPIPE, SIG_IGN);
    sigemptyset(&awaited_);
    for (const int signal : {SIGINT, SIGTERM, SIGUSR1})
        sigaddset(&awaited_, signal);
    pthread_sigmask(SIG_BLOCK, &awaited_, nullptr);
    thread_ = std::thread([this] { run(); });
}

CSignalThread::~CSignalThread() {
    pthread_kill(thread_.native_handle(), SIGUSR1);
    thread_.join();
}

void CSignalThread::run() const {
    int signal = 0;
    while (sigwait(&awaited_, &signal) != 0) {
    }
    if (signal != SIGUSR1)
        DieBySignal(signal);
}

} // namespace corvane::vornhost
