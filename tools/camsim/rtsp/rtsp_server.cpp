#include "rtsp/rtsp_server.h"

#include "rtsp/media_factory.h"

#include <unistd.h>

namespace camsim {
namespace {

// Connections beyond the limit that may exist: those that were ended to make room and are not closed yet.
constexpr size_t MostLeaving = 16;

GstRTSPAuth* MakeAuth(const SRtspCredentials& credentials) {
    if (credentials.scheme == AuthScheme::None)
        return nullptr;
    GstRTSPAuth* auth = gst_rtsp_auth_new();
    gst_rtsp_auth_set_realm(auth, AuthenticationRealm);
    GstRTSPToken* viewer =
        gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, CRtspService::Role, nullptr);
    if (credentials.scheme == AuthScheme::Basic) {
        gchar* basic = gst_rtsp_auth_make_basic(credentials.user.c_str(), credentials.password.c_str());
        gst_rtsp_auth_add_basic(auth, basic, viewer);
        g_free(basic);
    } else {
        gst_rtsp_auth_set_supported_methods(auth, GST_RTSP_AUTH_DIGEST);
        gst_rtsp_auth_add_digest(auth, credentials.user.c_str(), credentials.password.c_str(), viewer);
    }
    gst_rtsp_token_unref(viewer);
    return auth;
}

} // namespace

CRtspServer::CRtspServer(SParts parts, SRtspCredentials credentials, const SRtspPortPlan& ports,
                         SLimits limits)
    : parts_(parts),
      lookIsDue_(new std::atomic<bool>[parts.cameras.size()]()),
      credentials_(std::move(credentials)),
      limits_(limits),
      full_("RTSP: as many connections are open as may be (" + std::to_string(limits.connections) +
            "): those without a session are ended for others, or others turned away"),
      connections_(limits.connections + std::min(limits.connections, MostLeaving)),
      ports_(parts.cameras, parts.http, ports),
      portFaults_(RtspPort, parts.faults, parts.loop, limits.connections),
      services_(parts.cameras.size()) {
    for (const auto& camera : parts_.cameras)
        camera->onChange([this, &camera = *camera] { settingsChanged(camera); });
}

CRtspServer::~CRtspServer() {
    stop();
}

void CRtspServer::start() {
    LoadElements();
    auth_ = MakeAuth(credentials_);
    thread_.start();
    connections_.start(parts_.loop);
    ports_.start(parts_.loop,
                 [this](CCamera& camera, int fd, const sockaddr_in& peer) { accepted(camera, fd, peer); });
}

void CRtspServer::stop() {
    thread_.stop([this] { closeAll(); });
}

void CRtspServer::refuse(CCamera& camera) {
    ports_.refuse(camera);
    thread_.post([this, &camera] {
        if (const auto& service = services_[camera.index()])
            service->closeClients();
    });
}

void CRtspServer::resume(CCamera& camera) {
    ports_.resume(camera);
}

void CRtspServer::settingsChanged(CCamera& camera) {
    ports_.settingsChanged(camera);
    if (camera.counters.rtspClients == 0)
        return; // whoever connects later gets the new settings anyway
    if (lookIsDue_[camera.index()].exchange(true))
        return;
    thread_.post([this, &camera] {
        lookIsDue_[camera.index()] = false;
        if (const auto& service = services_[camera.index()])
            service->closeOutdatedClients();
    });
}

void CRtspServer::accepted(CCamera& camera, int fd, const sockaddr_in& peer) {
    if (portFaults_.take(camera, fd))
        return;
    const CRtspConnections::Place place = connections_.add(fd);
    if (!place) {
        full_.say();
        close(fd);
        return;
    }
    thread_.post([this, &camera, fd, peer, place] { serve(camera, fd, peer, place); });
}

void CRtspServer::serve(CCamera& camera, int fd, const sockaddr_in& peer, CRtspConnections::Place place) {
    // Checked on this thread. A camera that goes away sets this flag and then has this thread close its
    // clients, so each connection is caught by the one or the other.
    if (camera.away) {
        close(fd);
        return;
    }
    std::unique_ptr<CRtspService>& service = services_[camera.index()];
    if (!service)
        service =
            std::make_unique<CRtspService>(camera, parts_.faults, auth_, limits_.times, thread_.context());
    service->serve(fd, peer, std::move(place));
    makeRoom();
}

// Ends the connection that has been without a session for longest when there are more than may be.
void CRtspServer::makeRoom() {
    if (connections_.size() <= limits_.connections)
        return;
    full_.say();
    CRtspService* idlest = nullptr;
    for (const auto& service : services_)
        if (service && (idlest == nullptr || service->idleSince() < idlest->idleSince()))
            idlest = service.get();
    if (idlest != nullptr)
        idlest->endIdlest();
}

void CRtspServer::closeAll() {
    services_.clear();
    g_clear_object(&auth_);
    while (g_main_context_iteration(thread_.context(), FALSE)) {
        // closed connections release what they hold in callbacks on this context
    }
    gst_rtsp_thread_pool_cleanup();
}

} // namespace camsim
