#pragma once

#include "camera.h"
#include "event_loop.h"
#include "sockets.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace camsim {

/// How cameras beside the first are told apart.
enum class AddressPlan { ConsecutivePorts, ConsecutiveHosts };

/// The listening socket of each camera. Connections are accepted on the event loop's thread.
class Listeners {
public:
    /// Takes over an accepted connection.
    using Accepted = std::function<void(Camera& camera, int fd, const sockaddr_in& peer)>;

    /// Listens for every camera; the first at `first`. Throws SocketError with the address that cannot be
    /// had.
    Listeners(const std::vector<std::unique_ptr<Camera>>& cameras, const sockaddr_in& first,
              AddressPlan plan);

    /// From here on connections are accepted. `loop` must be stopped before this object ends.
    void start(EventLoop& loop, Accepted accepted);

    std::string address(size_t camera) const { return formatAddress(sockets_[camera].address()); }

    /// The camera refuses connections and is marked away at once, and comes back by itself. No effect on one
    /// that is away already. Any thread.
    void takeAway(Camera& camera, std::chrono::milliseconds duration);

private:
    void watch(size_t camera);
    void acceptAll(size_t camera);
    void bringBack(Camera& camera);

    const std::vector<std::unique_ptr<Camera>>& cameras_;
    std::vector<ListeningSocket> sockets_;
    EventLoop* loop_ = nullptr;
    Accepted accepted_;
};

} // namespace camsim
