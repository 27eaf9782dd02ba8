#pragma once

#include "model/camera.h"
#include "net/event_loop.h"
#include "net/notice.h"
#include "net/sockets.h"

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace camsim {

/// Told when a connection cannot be accepted; it is then tried again after a pause.
extern Notice outOfDescriptors;
constexpr std::chrono::milliseconds descriptorPause{100};

/// How cameras beside the first are told apart.
enum class AddressPlan { ConsecutivePorts, ConsecutiveHosts };

/// Listens for every camera's HTTP, the first at `first`. Throws SocketError with the address that cannot be
/// had.
std::vector<ListeningSocket> listenFrom(const sockaddr_in& first, AddressPlan plan, size_t cameras);

/// One listening socket of each camera. Connections are accepted on the event loop's thread.
class Listeners {
public:
    /// Takes over an accepted connection.
    using Accepted = std::function<void(Camera& camera, int fd, const sockaddr_in& peer)>;

    /// `sockets`: each camera's.
    Listeners(const std::vector<std::unique_ptr<Camera>>& cameras, std::vector<ListeningSocket> sockets);

    /// From here on connections are accepted. `loop` must be stopped before this object ends.
    void start(EventLoop& loop, Accepted accepted);

    /// Where the camera listens, as text and whole. Any thread.
    std::string address(size_t camera) const { return formatAddress(socketAddress(camera)); }
    sockaddr_in socketAddress(size_t camera) const;

    /// The camera's socket refuses connections until resume(). Any thread.
    void refuse(const Camera& camera);
    /// Throws SocketError. Any thread.
    void resume(const Camera& camera);

    /// The camera listens on another socket, or refuses there while it is away. The loop's thread alone.
    void replace(const Camera& camera, ListeningSocket socket);

private:
    void watch(size_t camera);
    void accept(size_t camera);
    void pause(size_t camera);
    int descriptor(size_t camera) const;

    const std::vector<std::unique_ptr<Camera>>& cameras_;
    EventLoop* loop_ = nullptr;
    Accepted accepted_;

    mutable std::mutex mutex_;             // held while a socket's watching changes, too
    std::vector<ListeningSocket> sockets_; // guarded by mutex_
};

} // namespace camsim
