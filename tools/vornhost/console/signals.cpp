#include "tools/vornhost/console/signals.h"

#include "site/base/standard_streams.h"
#include "tools/vornhost/names.h"

#include <mutex>
#include <pthread.h>
#include <utility>

namespace corvane::vornhost {
namespace {

std::mutex endMutex;              // held while the request runs
std::function<void()> endRequest; // guarded by endMutex; empty: signals end the program
SignalsTaken signalsTaken;        // guarded by endMutex

bool TakenByEndRequest() {
    const std::lock_guard<std::mutex> lock(endMutex);
    if (!endRequest)
        return false;
    endRequest();
    if (signalsTaken == SignalsTaken::First)
        endRequest = nullptr;
    return true;
}

} // namespace

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
    for (int signal = 0; signal != SIGUSR1;) {
        const bool received = sigwait(&awaited_, &signal) == 0;
        if (received && signal != SIGUSR1 && !TakenByEndRequest())
            DieBySignal(signal);
    }
}

void BlockHangUp() {
    sigset_t hangUp;
    sigemptyset(&hangUp);
    sigaddset(&hangUp, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &hangUp, nullptr);
}

CEndRequest::CEndRequest(std::function<void()> request, SignalsTaken taken) {
    const std::lock_guard<std::mutex> lock(endMutex);
    endRequest = std::move(request);
    signalsTaken = taken;
}

CEndRequest::~CEndRequest() {
    const std::lock_guard<std::mutex> lock(endMutex);
    endRequest = nullptr;
}

} // namespace corvane::vornhost
