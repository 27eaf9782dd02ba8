#pragma once

#include "model/camera.h"
#include "model/faults.h"
#include "net/event_loop.h"
#include "net/tls_handshake.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>

namespace camsim {

// What goes wrong with a connection as soon as it is made, whatever is asked on it. On the event loop's
// thread alone.
class CPortFaults {
public:
    // `port`: WebPort or RtspPort. `most`: how many connections may be held open. All outlive this object.
    CPortFaults(const char* port, CFaultList& faults, CEventLoop& loop, size_t most)
        : port_(port), faults_(faults), loop_(loop), most_(most) {}
    // Closes those that are held. The loop has been stopped.
    ~CPortFaults();
    CPortFaults(const CPortFaults&) = delete;
    CPortFaults& operator=(const CPortFaults&) = delete;

    // Whether a fault hits an accepted connection; it is taken over then.
    bool take(CCamera& camera, int fd);

private:
    struct SHeld {
        std::optional<CEventLoop::TimerId> timer;
        std::unique_ptr<CTlsHandshake> handshake;
    };

    void hit(const SFault& fault, int fd);
    void hold(int fd, std::unique_ptr<CTlsHandshake> handshake,
              std::optional<std::chrono::milliseconds> longest);
    void finish(int fd);
    void read(int fd);
    void drop(int fd);

    const char* const port_;
    CFaultList& faults_;
    CEventLoop& loop_;
    const size_t most_;
    std::map<int, SHeld> held_; // by descriptor
};

} // namespace camsim
