#pragma once

#include "net/event_loop.h"

#include <list>
#include <memory>
#include <mutex>

namespace camsim {

/// The open RTSP connections, which all share one thread: a client that sends more than any client of streams
/// does would keep it to itself, so its connection is ended from here. Every operation but start() may be
/// called on any thread.
class RtspConnections {
public:
    /// Kept for as long as a connection is open, or shorter by whoever is about to close it.
    using Place = std::shared_ptr<void>;

    /// `most`: how many there may be.
    explicit RtspConnections(size_t most) : most_(most) {}

    /// To be called before the loop is started, which must be stopped before this object ends.
    void start(EventLoop& loop);

    /// None when there are as many as may be, or no descriptor is left. Ends before this object.
    Place add(int fd);
    size_t size() const;

private:
    struct Connection {
        int fd;            ///< the connection's, a second time, so that it stays what it is
        uint64_t received; ///< bytes, at the last look
    };

    void endFlooding(EventLoop& loop);

    const size_t most_;
    mutable std::mutex mutex_;
    std::list<Connection> connections_; // guarded by mutex_
};

} // namespace camsim
