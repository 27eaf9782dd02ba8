#include "net/listeners.h"

#include <sys/epoll.h>

namespace camsim {
namespace {

sockaddr_in AddressOf(uint32_t camera, const sockaddr_in& first, AddressPlan plan) {
    if (plan == AddressPlan::ConsecutiveHosts)
        return StepAddress(first, camera, 0);
    return StepAddress(first, 0, first.sin_port == 0 ? 0 : camera);
}

} // namespace

CNotice outOfDescriptors("no file descriptor left for a connection, which waits, or for a stream, which is "
                         "answered 503; raise the limit (ulimit -n)");

std::vector<CListeningSocket> ListenFrom(const sockaddr_in& first, AddressPlan plan, size_t cameras) {
    std::vector<CListeningSocket> sockets;
    sockets.reserve(cameras);
    for (uint32_t i = 0; i < cameras; ++i)
        sockets.emplace_back(AddressOf(i, first, plan));
    return sockets;
}

CListeners::CListeners(const std::vector<std::unique_ptr<CCamera>>& cameras,
                       std::vector<CListeningSocket> sockets)
    : cameras_(cameras), sockets_(std::move(sockets)), refusing_(sockets_.size()) {}

void CListeners::start(CEventLoop& loop, Accepted accepted) {
    loop_ = &loop;
    accepted_ = std::move(accepted);
    const std::lock_guard<std::mutex> lock(mutex_);
    for (size_t i = 0; i < sockets_.size(); ++i)
        if (!refusing_[i])
            watch(i);
}

sockaddr_in CListeners::socketAddress(size_t camera) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sockets_[camera].address();
}

void CListeners::refuse(const CCamera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (refusing_[camera.index()])
        return; // shut down twice, it would hand that on to the connections that it accepts later
    CListeningSocket& socket = sockets_[camera.index()];
    refusing_[camera.index()] = true;
    loop_->unwatch(socket.fd());
    socket.refuse();
}

void CListeners::resume(const CCamera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sockets_[camera.index()].listen();
    refusing_[camera.index()] = false;
    watch(camera.index());
}

bool CListeners::isRefusing(const CCamera& camera) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return refusing_[camera.index()];
}

void CListeners::replace(const CCamera& camera, CListeningSocket socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    CListeningSocket& current = sockets_[camera.index()];
    loop_->unwatch(current.fd());
    current = std::move(socket);
    if (refusing_[camera.index()])
        current.refuse();
    else
        watch(camera.index());
}

// The caller holds mutex_.
void CListeners::watch(size_t camera) {
    loop_->watch(sockets_[camera].fd(), EPOLLIN, [this, camera] { accept(camera); });
}

int CListeners::descriptor(size_t camera) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sockets_[camera].fd();
}

void CListeners::accept(size_t camera) {
    const int listening = descriptor(camera); // closed by this thread alone, in replace()
    const auto take = [&](int fd, const sockaddr_in& peer) { accepted_(*cameras_[camera], fd, peer); };
    if (!AcceptAll(listening, take))
        pause(camera);
}

void CListeners::pause(size_t camera) {
    outOfDescriptors.say();
    const std::lock_guard<std::mutex> lock(mutex_);
    loop_->unwatch(sockets_[camera].fd());
    loop_->after(DescriptorPause, [this, camera] {
        const std::lock_guard<std::mutex> again(mutex_);
        if (!refusing_[camera])
            watch(camera);
    });
}

} // namespace camsim
