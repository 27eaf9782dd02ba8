#pragma once

#include "net/event_loop.h"

#include <chrono>
#include <map>
#include <microhttpd.h>
#include <mutex>
#include <optional>
#include <vector>

namespace camsim {

// Connections that wait: for a time to pass, to be woken, for the client to hang up, or for the program to
// end. Every operation may be called on any thread.
class CParkedConnections {
public:
    enum class Outcome { TimePassed, Woken, HungUp, Stopped };

    // `resumed` is called on the loop's thread when a connection is to go on: the daemon must be run.
    CParkedConnections(CEventLoop& loop, CEventLoop::Task resumed)
        : loop_(loop), resumed_(std::move(resumed)) {}

    // Suspends the connection and takes it up again after `duration`, or never by itself; `*outcome` is set
    // before it goes on and must live until then. False, and nothing is suspended, once release() has been
    // called.
    bool park(MHD_Connection* connection, int fd, std::optional<std::chrono::milliseconds> duration,
              Outcome* outcome);

    // Takes up those of the connections that wait. To be called on the loop's thread.
    void wake(const std::vector<MHD_Connection*>& connections);

    // Lets every connection go on at the daemon's next run; from now on none is suspended.
    void release();

private:
    struct SParked {
        int fd;
        Outcome* outcome;
        uint64_t turn;
        std::optional<CEventLoop::TimerId> timer;
    };

    void wakeUp(MHD_Connection* connection, uint64_t turn, Outcome outcome);
    void resume(std::map<MHD_Connection*, SParked>::iterator parked, Outcome outcome);

    CEventLoop& loop_;
    const CEventLoop::Task resumed_;
    std::mutex mutex_;
    bool released_ = false;                     // guarded by mutex_
    std::map<MHD_Connection*, SParked> parked_; // guarded by mutex_
    uint64_t lastTurn_ = 0; // guarded by mutex_; tells one wait of a connection from the next
};

} // namespace camsim
