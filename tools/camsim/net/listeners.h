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

// Told when a connection cannot be accepted; it is then tried again after a pause.
extern CNotice outOfDescriptors;
constexpr std::chrono::milliseconds DescriptorPause{100};

// What the addresses of further cameras differ in from the first camera's: the port or the host.
enum class AddressPlan { ConsecutivePorts, ConsecutiveHosts };

// Listens for every camera's HTTP, the first at `first`. Throws CSocketError with the address that cannot be
// had.
std::vector<CListeningSocket> ListenFrom(const sockaddr_in& first, AddressPlan plan, size_t cameras);

// One listening socket of each camera. Connections are accepted on the event loop's thread.
class CListeners {
public:
    // Takes over an accepted connection.
    using Accepted = std::function<void(CCamera& camera, int fd, const sockaddr_in& peer)>;

    // `sockets`: each camera's.
    CListeners(const std::vector<std::unique_ptr<CCamera>>& cameras, std::vector<CListeningSocket> sockets);

    // From here on connections are accepted. `loop` must be stopped before this object ends.
    void start(CEventLoop& loop, Accepted accepted);

    // Where the camera listens, as text and whole. Any thread.
    std::string address(size_t camera) const { return FormatAddress(socketAddress(camera)); }
    sockaddr_in socketAddress(size_t camera) const;

    // The camera's socket refuses connections until resume(). Any thread.
    void refuse(const CCamera& camera);
    // Throws CSocketError. Any thread.
    void resume(const CCamera& camera);

    bool isRefusing(const CCamera& camera) const;

    // The camera listens on another socket, or refuses there while it refuses. The loop's thread alone.
    void replace(const CCamera& camera, CListeningSocket socket);

private:
    void watch(size_t camera);
    void accept(size_t camera);
    void pause(size_t camera);
    int descriptor(size_t camera) const;

    const std::vector<std::unique_ptr<CCamera>>& cameras_;
    CEventLoop* loop_ = nullptr;
    Accepted accepted_;

    mutable std::mutex mutex_;              // held while a socket's watching changes, too
    std::vector<CListeningSocket> sockets_; // guarded by mutex_
    std::vector<bool> refusing_;            // guarded by mutex_
};

} // namespace camsim
