#pragma once

#include "net/event_loop.h"

#include <list>
#include <memory>
#include <mutex>

namespace camsim {

// The open RTSP connections. One thread serves them all, and a client that sends without end would keep it
// busy; the connection of a client that sends far more than streams need is ended from here. Every operation
// but start() may be called on any thread.
class CRtspConnections {
public:
    // A connection counts as open while its place exists. Whoever is about to close it may drop the place
    // first.
    using Place = std::shared_ptr<void>;

    // `most`: how many there may be.
    explicit CRtspConnections(size_t most) : most_(most) {}

    // To be called before the loop is started, which must be stopped before this object ends.
    void start(CEventLoop& loop);

    // None when there are as many as may be, or no descriptor is left. Ends before this object.
    Place add(int fd);
    size_t size() const;

private:
    struct SConnection {
        int fd;            // a duplicate, so that the number is not used for another connection meanwhile
        uint64_t received; // bytes, at the last look
    };

    void endFlooding(CEventLoop& loop);

    const size_t most_;
    mutable std::mutex mutex_;
    std::list<SConnection> connections_; // guarded by mutex_
};

} // namespace camsim
