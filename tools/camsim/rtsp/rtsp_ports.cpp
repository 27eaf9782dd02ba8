#include "rtsp/rtsp_ports.h"

#include "model/numbers.h"

#include <iostream>
#include <netinet/in.h>
#include <utility>

namespace camsim {
namespace {

// 0, which leaves the choice to the system, when the setting names no port.
uint16_t WantedPort(const CCamera& camera) {
    return ParseNumber<uint16_t>(camera.setting("RTSPPORT").value_or("")).value_or(0);
}

sockaddr_in WithPort(sockaddr_in address, uint16_t port) {
    address.sin_port = htons(port);
    return address;
}

// On the wanted port, or on one of the system's choice where that is taken or not allowed.
CListeningSocket ListenIfPossible(const sockaddr_in& host, uint16_t port) {
    try {
        return CListeningSocket(WithPort(host, port));
    } catch (const CSocketError&) {
        return CListeningSocket(WithPort(host, 0));
    }
}

std::vector<CListeningSocket> ListenFor(const std::vector<std::unique_ptr<CCamera>>& cameras,
                                        const CListeners& http, const SRtspPortPlan& plan) {
    if (plan.first)
        return ListenFrom(WithPort(http.socketAddress(0), *plan.first), plan.addresses, cameras.size());
    std::vector<CListeningSocket> sockets;
    sockets.reserve(cameras.size());
    for (const auto& camera : cameras)
        sockets.push_back(ListenIfPossible(http.socketAddress(camera->index()), WantedPort(*camera)));
    return sockets;
}

} // namespace

CRtspPorts::CRtspPorts(const std::vector<std::unique_ptr<CCamera>>& cameras, const CListeners& http,
                       const SRtspPortPlan& plan)
    : followSettings_(!plan.first), cameras_(cameras), listeners_(cameras, ListenFor(cameras, http, plan)) {
    for (const auto& camera : cameras_)
        wanted_.push_back(WantedPort(*camera));
    madeFor_ = wanted_;
}

void CRtspPorts::start(CEventLoop& loop, Accepted accepted) {
    loop_ = &loop;
    listeners_.start(loop, std::move(accepted));
}

void CRtspPorts::settingsChanged(const CCamera& camera) {
    if (!followSettings_)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    const uint16_t wanted = WantedPort(camera);
    if (std::exchange(wanted_[camera.index()], wanted) != wanted)
        loop_->after(std::chrono::milliseconds(0), [this, &camera] { move(camera); });
}

void CRtspPorts::resume(const CCamera& camera) {
    listeners_.resume(camera);
    if (followSettings_)
        loop_->after(std::chrono::milliseconds(0), [this, &camera] { move(camera); });
}

void CRtspPorts::move(const CCamera& camera) {
    const sockaddr_in current = listeners_.socketAddress(camera.index());
    const uint16_t wanted = WantedPort(camera);
    // One that could not be had is not asked for again: the system would choose yet another instead.
    if (wanted == ntohs(current.sin_port) || wanted == madeFor_[camera.index()])
        return;
    if (listeners_.isRefusing(camera) && !camera.away)
        return;
    try {
        listeners_.replace(camera, ListenIfPossible(current, wanted));
        madeFor_[camera.index()] = wanted;
    } catch (const CSocketError& error) {
        std::cerr << "camsim: camera " << camera.index() << " keeps its RTSP port: " << error.what() << "\n";
    }
}

} // namespace camsim
