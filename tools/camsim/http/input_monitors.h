#pragma once

#include "model/camera.h"
#include "model/faults.h"
#include "net/event_loop.h"
#include "net/parked_connections.h"

#include <atomic>
#include <chrono>
#include <microhttpd.h>
#include <unordered_map>
#include <unordered_set>

namespace camsim {

// Whether this fault goes wrong in the course of a reply that stays open, rather than with its beginning.
bool BreaksMonitor(const SFault& fault);

// The replies that stay open and tell the levels of alarm inputs: the whole of them at once, then every
// change when it happens, and the whole again whenever nothing was written for a time. Everything runs on
// the event loop's thread.
class CInputMonitors {
public:
    CInputMonitors(CEventLoop& loop, CParkedConnections& parked, std::chrono::milliseconds period);

    // Tells changes of this camera from now on. To be called before the loop is started.
    void follow(CCamera& camera);

    // Queues the reply on a connection. `fault`: what goes wrong with it, one that BreaksMonitor(), or
    // nothing.
    MHD_Result open(CCamera& camera, MHD_Connection* connection, int fd, const std::optional<SFault>& fault);

private:
    class CReply;

    void tell(const CCamera& camera, const CAlarmInputs::Levels& changes);

    CEventLoop& loop_;
    CParkedConnections& parked_;
    const std::chrono::milliseconds period_;
    std::atomic<size_t> untold_{0}; // changes that wait for the loop's thread
    std::unordered_map<const CCamera*, std::unordered_set<CReply*>> replies_; // the loop's thread alone
};

} // namespace camsim
