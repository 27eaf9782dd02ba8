#include "http/port_refusals.h"

#include <algorithm>

namespace camsim {

void CPortRefusals::apply() {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::vector<SFault> faults = parts_.faults.listOfPorts();
    if (faults.empty() && !any_)
        return; // as nearly always, and there may be many cameras
    any_ = !faults.empty();
    for (const auto& camera : parts_.cameras)
        change(*camera, cameras_[camera->index()], wanted(*camera, faults));
}

CPortRefusals::SCamera CPortRefusals::wanted(const CCamera& camera, const std::vector<SFault>& faults) const {
    SCamera wanted;
    for (const SFault& fault : faults) {
        if (fault.camera && *fault.camera != camera.index())
            continue;
        const bool isWeb = fault.path == WebPort;
        const bool refuses = fault.kind == FaultKind::Refuse;
        ++(isWeb ? wanted.webFaults : wanted.rtspFaults);
        (isWeb ? wanted.web : wanted.rtsp) |= refuses;
    }
    return wanted;
}

void CPortRefusals::change(CCamera& camera, SCamera& is, const SCamera& wanted) {
    if (wanted.web && !is.web)
        parts_.listeners.refuse(camera);
    if (!wanted.web && is.web && !camera.away)
        parts_.listeners.resume(camera);
    if (wanted.webFaults > is.webFaults)
        parts_.connections.breakConnections(camera, -1);
    if (parts_.rtsp != nullptr) {
        if (wanted.rtspFaults > is.rtspFaults || (wanted.rtsp && !is.rtsp))
            parts_.rtsp->refuse(camera); // which ends the connections, too
        if (!wanted.rtsp && (is.rtsp || wanted.rtspFaults > is.rtspFaults) && !camera.away)
            parts_.rtsp->resume(camera);
    }
    is = wanted;
}

void CPortRefusals::resume(CCamera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!cameras_[camera.index()].web)
        parts_.listeners.resume(camera);
    if (parts_.rtsp != nullptr && !cameras_[camera.index()].rtsp)
        parts_.rtsp->resume(camera);
}

} // namespace camsim
