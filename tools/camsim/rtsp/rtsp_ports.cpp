#include "rtsp/rtsp_ports.h"

#include "model/numbers.h"

#include <iostream>
#include <netinet/in.h>
#include <utility>

namespace camsim {
namespace {

/// 0, which leaves the choice to the system, when the setting names no port.
uint16_t wantedPort(const Camera& camera) {
    return parseNumber<uint16_t>(camera.setting("RTSPPORT").value_or("")).value_or(0);
}

sockaddr_in withPort(sockaddr_in address, uint16_t port) {
    address.sin_port = htons(port);
    return address;
}

/// On the wanted port, or on one of the system's choice where that is taken or not allowed.
ListeningSocket listenIfPossible(const sockaddr_in& host, uint16_t port) {
    try {
        return ListeningSocket(withPort(host, port));
    } catch (const SocketError&) {
        return ListeningSocket(withPort(host, 0));
    }
}

std::vector<ListeningSocket> listenFor(const std::vector<std::unique_ptr<Camera>>& cameras,
                                       const Listeners& http, const RtspPortPlan& plan) {
    if (plan.first)
        return listenFrom(withPort(http.socketAddress(0), *plan.first), plan.addresses, cameras.size());
    std::vector<ListeningSocket> sockets;
    sockets.reserve(cameras.size());
    for (const auto& camera : cameras)
        sockets.push_back(listenIfPossible(http.socketAddress(camera->index()), wantedPort(*camera)));
    return sockets;
}

} // namespace

RtspPorts::RtspPorts(const std::vector<std::unique_ptr<Camera>>& cameras, const Listeners& http,
                     const RtspPortPlan& plan)
    : followSettings_(!plan.first), cameras_(cameras), listeners_(cameras, listenFor(cameras, http, plan)) {
    for (const auto& camera : cameras_)
        wanted_.push_back(wantedPort(*camera));
}

void RtspPorts::start(EventLoop& loop, Accepted accepted) {
    loop_ = &loop;
    listeners_.start(loop, std::move(accepted));
}

void RtspPorts::settingsChanged(const Camera& camera) {
    if (!followSettings_)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    const uint16_t wanted = wantedPort(camera);
    if (std::exchange(wanted_[camera.index()], wanted) != wanted)
        loop_->after(std::chrono::milliseconds(0), [this, &camera] { move(camera); });
}

void RtspPorts::move(const Camera& camera) {
    const sockaddr_in current = listeners_.socketAddress(camera.index());
    const uint16_t wanted = wantedPort(camera);
    if (wanted == ntohs(current.sin_port))
        return;
    try {
        listeners_.replace(camera, listenIfPossible(current, wanted));
    } catch (const SocketError& error) {
        std::cerr << "camsim: camera " << camera.index() << " keeps its RTSP port: " << error.what() << "\n";
    }
}

} // namespace camsim
