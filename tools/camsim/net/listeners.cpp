#include "net/listeners.h"

#include <sys/epoll.h>

namespace camsim {
namespace {

sockaddr_in addressOf(uint32_t camera, const sockaddr_in& first, AddressPlan plan) {
    if (plan == AddressPlan::ConsecutiveHosts)
        return stepAddress(first, camera, 0);
    return stepAddress(first, 0, first.sin_port == 0 ? 0 : camera);
}

} // namespace

Notice outOfDescriptors("no file descriptor left for a connection, which waits, or for a stream, which is "
                        "answered 503; raise the limit (ulimit -n)");

std::vector<ListeningSocket> listenFrom(const sockaddr_in& first, AddressPlan plan, size_t cameras) {
    std::vector<ListeningSocket> sockets;
    sockets.reserve(cameras);
    for (uint32_t i = 0; i < cameras; ++i)
        sockets.emplace_back(addressOf(i, first, plan));
    return sockets;
}

Listeners::Listeners(const std::vector<std::unique_ptr<Camera>>& cameras,
                     std::vector<ListeningSocket> sockets)
    : cameras_(cameras), sockets_(std::move(sockets)) {}

void Listeners::start(EventLoop& loop, Accepted accepted) {
    loop_ = &loop;
    accepted_ = std::move(accepted);
    const std::lock_guard<std::mutex> lock(mutex_);
    for (size_t i = 0; i < sockets_.size(); ++i)
        watch(i);
}

sockaddr_in Listeners::socketAddress(size_t camera) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sockets_[camera].address();
}

void Listeners::refuse(const Camera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ListeningSocket& socket = sockets_[camera.index()];
    loop_->unwatch(socket.fd());
    socket.refuse();
}

void Listeners::resume(const Camera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sockets_[camera.index()].listen();
    watch(camera.index());
}

void Listeners::replace(const Camera& camera, ListeningSocket socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ListeningSocket& current = sockets_[camera.index()];
    loop_->unwatch(current.fd());
    current = std::move(socket);
    if (camera.away)
        current.refuse();
    else
        watch(camera.index());
}

/// REQUIRES: mutex_ held.
void Listeners::watch(size_t camera) {
    loop_->watch(sockets_[camera].fd(), EPOLLIN, [this, camera] { accept(camera); });
}

int Listeners::descriptor(size_t camera) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sockets_[camera].fd();
}

void Listeners::accept(size_t camera) {
    const int listening = descriptor(camera); // closed by this thread alone, in replace()
    const auto take = [&](int fd, const sockaddr_in& peer) { accepted_(*cameras_[camera], fd, peer); };
    if (!acceptAll(listening, take))
        pause(camera);
}

void Listeners::pause(size_t camera) {
    outOfDescriptors.say();
    const std::lock_guard<std::mutex> lock(mutex_);
    loop_->unwatch(sockets_[camera].fd());
    loop_->after(descriptorPause, [this, camera] {
        const std::lock_guard<std::mutex> again(mutex_);
        if (!cameras_[camera]->away)
            watch(camera);
    });
}

} // namespace camsim
