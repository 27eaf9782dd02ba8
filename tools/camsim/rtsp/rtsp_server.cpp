#include "rtsp/rtsp_server.h"

#include <unistd.h>

namespace camsim {
namespace {

/// Connections that are to make room for others and are not gone yet.
constexpr size_t mostLeaving = 16;

GstRTSPAuth* makeAuth(const RtspCredentials& credentials) {
    if (credentials.scheme == AuthScheme::None)
        return nullptr;
    GstRTSPAuth* auth = gst_rtsp_auth_new();
    gst_rtsp_auth_set_realm(auth, authenticationRealm);
    GstRTSPToken* viewer =
        gst_rtsp_token_new(GST_RTSP_TOKEN_MEDIA_FACTORY_ROLE, G_TYPE_STRING, RtspService::role, nullptr);
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

RtspServer::RtspServer(Parts parts, RtspCredentials credentials, const RtspPortPlan& ports, Limits limits)
    : parts_(parts),
      lookIsDue_(new std::atomic<bool>[parts.cameras.size()]()),
      credentials_(std::move(credentials)),
      limits_(limits),
      full_("RTSP: as many connections are open as may be (" + std::to_string(limits.connections) +
            "): those without a session are ended for others, or others turned away"),
      connections_(limits.connections + std::min(limits.connections, mostLeaving)),
      ports_(parts.cameras, parts.http, ports),
      services_(parts.cameras.size()) {
    for (const auto& camera : parts_.cameras)
        camera->onChange([this, &camera = *camera] { settingsChanged(camera); });
}

RtspServer::~RtspServer() {
    stop();
}

void RtspServer::start() {
    thread_.start();
    connections_.start(parts_.loop);
    ports_.start(parts_.loop,
                 [this](Camera& camera, int fd, const sockaddr_in& peer) { accepted(camera, fd, peer); });
}

void RtspServer::stop() {
    thread_.stop([this] { closeAll(); });
}

void RtspServer::refuse(Camera& camera) {
    ports_.refuse(camera);
    thread_.post([this, &camera] {
        if (const auto& service = services_[camera.index()])
            service->closeClients();
    });
}

void RtspServer::resume(Camera& camera) {
    ports_.resume(camera);
}

void RtspServer::settingsChanged(Camera& camera) {
    ports_.settingsChanged(camera);
    if (camera.counters.rtspClients == 0)
        return; // who comes later finds the new settings
    if (lookIsDue_[camera.index()].exchange(true))
        return;
    thread_.post([this, &camera] {
        lookIsDue_[camera.index()] = false;
        if (const auto& service = services_[camera.index()])
            service->closeOutdatedClients();
    });
}

void RtspServer::accepted(Camera& camera, int fd, const sockaddr_in& peer) {
    const RtspConnections::Place place = connections_.add(fd);
    if (!place) {
        full_.say();
        close(fd);
        return;
    }
    thread_.post([this, &camera, fd, peer, place] { serve(camera, fd, peer, place); });
}

void RtspServer::serve(Camera& camera, int fd, const sockaddr_in& peer, RtspConnections::Place place) {
    // Looked at behind the task that closes the clients of a camera which goes away: a connection is either
    // closed by that or seen here.
    if (camera.away) {
        close(fd);
        return;
    }
    if (!gstreamerIsReady_) {
        gst_init(nullptr, nullptr);
        auth_ = makeAuth(credentials_);
        gstreamerIsReady_ = true;
    }
    std::unique_ptr<RtspService>& service = services_[camera.index()];
    if (!service)
        service =
            std::make_unique<RtspService>(camera, parts_.faults, auth_, limits_.times, thread_.context());
    service->serve(fd, peer, std::move(place));
    makeRoom();
}

/// Ends the connection that has been without a session for longest when there are more than may be.
void RtspServer::makeRoom() {
    if (connections_.size() <= limits_.connections)
        return;
    full_.say();
    RtspService* idlest = nullptr;
    for (const auto& service : services_)
        if (service && (idlest == nullptr || service->idleSince() < idlest->idleSince()))
            idlest = service.get();
    if (idlest != nullptr)
        idlest->endIdlest();
}

void RtspServer::closeAll() {
    services_.clear();
    if (!gstreamerIsReady_)
        return;
    g_clear_object(&auth_);
    while (g_main_context_iteration(thread_.context(), FALSE)) {
        // what the connections still have to do before they are gone
    }
    gst_rtsp_thread_pool_cleanup();
}

} // namespace camsim
