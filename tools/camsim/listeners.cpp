#include "listeners.h"

#include <cerrno>
#include <iostream>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace camsim {
namespace {

sockaddr_in addressOf(uint32_t camera, const sockaddr_in& first, AddressPlan plan) {
    if (plan == AddressPlan::ConsecutiveHosts)
        return stepAddress(first, camera, 0);
    return stepAddress(first, 0, first.sin_port == 0 ? 0 : camera);
}

/// How long a camera waits before it accepts again when the process has no descriptor left.
constexpr std::chrono::milliseconds descriptorPause{100};

} // namespace

Listeners::Listeners(const std::vector<std::unique_ptr<Camera>>& cameras, const sockaddr_in& first,
                     AddressPlan plan)
    : cameras_(cameras) {
    sockets_.reserve(cameras.size());
    for (uint32_t i = 0; i < cameras.size(); ++i)
        sockets_.emplace_back(addressOf(i, first, plan));
}

void Listeners::start(EventLoop& loop, Accepted accepted) {
    loop_ = &loop;
    accepted_ = std::move(accepted);
    for (size_t i = 0; i < sockets_.size(); ++i)
        watch(i);
}

void Listeners::takeAway(Camera& camera, std::chrono::milliseconds duration) {
    if (camera.away.exchange(true))
        return;
    ListeningSocket& socket = sockets_[camera.index()];
    loop_->unwatch(socket.fd());
    socket.refuse();
    loop_->after(duration, [this, &camera] { bringBack(camera); });
}

void Listeners::watch(size_t camera) {
    loop_->watch(sockets_[camera].fd(), EPOLLIN, [this, camera] { acceptAll(camera); });
}

void Listeners::acceptAll(size_t camera) {
    for (;;) {
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        const int fd = accept4(sockets_[camera].fd(), reinterpret_cast<sockaddr*>(&peer), &length,
                               SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd >= 0) {
            const int on = 1;
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            accepted_(*cameras_[camera], fd, peer);
            continue;
        }
        if (errno == EINTR || errno == ECONNABORTED)
            continue;
        if (errno == EMFILE || errno == ENFILE) {
            std::cerr << "camsim: no file descriptor left for a connection; raise the limit (ulimit -n)\n";
            loop_->unwatch(sockets_[camera].fd());
            loop_->after(descriptorPause, [this, camera] {
                if (!cameras_[camera]->away)
                    watch(camera);
            });
        }
        return;
    }
}

void Listeners::bringBack(Camera& camera) {
    try {
        sockets_[camera.index()].listen();
        camera.away = false;
        watch(camera.index());
    } catch (const std::exception& error) {
        std::cerr << "camsim: camera " << camera.index() << " stays away: " << error.what() << "\n";
    }
}

} // namespace camsim
