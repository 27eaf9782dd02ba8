#include "rtsp/rtsp_service.h"

#include "net/sockets.h"
#include "rtsp/media_factory.h"

#include <arpa/inet.h>
#include <unistd.h>

namespace camsim {
namespace {

constexpr const char* stateKey = "camsim-client";
constexpr std::chrono::milliseconds longestCleaningPeriod{5000};
/// Cleanings are so much more frequent than the time after which a connection is idle.
constexpr int cleaningsPerIdleTime = 4;
constexpr guint longestBody = 64 * 1024;
constexpr unsigned ordinaryRefusal = GST_RTSP_STS_SERVICE_UNAVAILABLE;

GstRTSPFilterResult dropSession(GstRTSPSessionPool*, GstRTSPSession*, gpointer) {
    return GST_RTSP_FILTER_REMOVE;
}

bool hasSession(GstRTSPClient* client) {
    GList* sessions = gst_rtsp_client_session_filter(client, nullptr, nullptr);
    const bool any = sessions != nullptr;
    g_list_free_full(sessions, g_object_unref);
    return any;
}

struct OutdatedSearch {
    const Camera& camera;
    bool found;
};

GstRTSPFilterResult lookAtMedia(GstRTSPSession*, GstRTSPSessionMedia* sessionMedia, gpointer search) {
    auto& outdated = *static_cast<OutdatedSearch*>(search);
    outdated.found =
        outdated.found || !isCurrent(outdated.camera, gst_rtsp_session_media_get_media(sessionMedia));
    return GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult lookAtSession(GstRTSPClient*, GstRTSPSession* session, gpointer search) {
    gst_rtsp_session_filter(session, lookAtMedia, search);
    return GST_RTSP_FILTER_KEEP;
}

bool isAuthorized(GstRTSPContext& request) {
    GstRTSPAuth* auth = request.auth;
    if (auth == nullptr || request.token != nullptr)
        return true;
    return GST_RTSP_AUTH_GET_CLASS(auth)->authenticate(auth, &request) && request.token != nullptr;
}

GstRTSPServer* makeServer(Camera& camera, GstRTSPAuth* auth) {
    GstRTSPServer* server = gst_rtsp_server_new();
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
    for (VideoStream& stream : videoStreams(camera.model())) {
        const std::string path = stream.path;
        gst_rtsp_mount_points_add_factory(mounts, path.c_str(),
                                          newMediaFactory(camera, std::move(stream), RtspService::role));
    }
    g_object_unref(mounts);
    GstRTSPThreadPool* threads = gst_rtsp_server_get_thread_pool(server);
    gst_rtsp_thread_pool_set_max_threads(threads, 0); // clients are served on the thread that accepts them
    g_object_unref(threads);
    gst_rtsp_server_set_auth(server, auth);
    gst_rtsp_server_set_content_length_limit(server, longestBody);
    return server;
}

} // namespace

/// What is known of one connection.
struct RtspService::ClientState {
    std::string path; ///< of the stream it asked for last
    std::optional<Fault> fault;
    GSource* cut = nullptr;                     ///< closes the connection
    Clock::time_point idleSince = Clock::now(); ///< when it last had a session, as far as was seen
    bool ended = false; ///< for its idleness; it is gone when the main context has got to it
    RtspConnections::Place place;

    ~ClientState() { stopCutting(); }

    void stopCutting() {
        if (cut == nullptr)
            return;
        g_source_destroy(cut);
        g_source_unref(cut);
        cut = nullptr;
    }

    static ClientState& of(GstRTSPClient* client) {
        return *static_cast<ClientState*>(g_object_get_data(G_OBJECT(client), stateKey));
    }
};

/// Closes the client's connection and forgets its sessions, so that it cannot take them up on another. The
/// caller holds the client: closing drops what else does, and must not see it go meanwhile.
void RtspService::endClient(GstRTSPClient* client) {
    GstRTSPSessionPool* sessions = gst_rtsp_client_get_session_pool(client);
    GList* own = gst_rtsp_client_session_filter(client, nullptr, nullptr);
    for (const GList* session = own; session != nullptr; session = session->next)
        gst_rtsp_session_pool_remove(sessions, GST_RTSP_SESSION(session->data));
    g_list_free_full(own, g_object_unref);
    g_object_unref(sessions);
    ClientState::of(client).place.reset();
    gst_rtsp_client_close(client);
}

GstRTSPFilterResult RtspService::closeClient(GstRTSPServer*, GstRTSPClient* client, gpointer) {
    endClient(client);
    return GST_RTSP_FILTER_KEEP;
}

RtspService::RtspService(Camera& camera, FaultList& faults, GstRTSPAuth* auth, const ConnectionTimes& times,
                         GMainContext* context)
    : camera_(camera),
      faults_(faults),
      times_(times),
      context_(context),
      server_(makeServer(camera, auth)),
      cleaning_(g_timeout_source_new(
          static_cast<guint>(std::min(longestCleaningPeriod, times.idle / cleaningsPerIdleTime).count()))) {
    g_signal_connect(server_, "client-connected", G_CALLBACK(&RtspService::onConnected), this);
    g_source_set_callback(cleaning_, &RtspService::clean, this, nullptr);
    g_source_attach(cleaning_, context_);
}

RtspService::~RtspService() {
    g_source_destroy(cleaning_);
    g_source_unref(cleaning_);
    closeClients();
    GstRTSPSessionPool* sessions = gst_rtsp_server_get_session_pool(server_);
    gst_rtsp_session_pool_filter(sessions, dropSession, nullptr);
    g_object_unref(sessions);
    g_object_unref(server_);
}

void RtspService::serve(int fd, const sockaddr_in& peer, RtspConnections::Place place) {
    endWhenUnread(fd, times_.unread);
    GError* error = nullptr;
    GSocket* socket = g_socket_new_from_fd(fd, &error);
    if (socket == nullptr) {
        g_error_free(error);
        close(fd);
        return;
    }
    char host[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &peer.sin_addr, host, sizeof host);
    arriving_ = std::move(place);
    gst_rtsp_server_transfer_connection(server_, socket, host, ntohs(peer.sin_port), nullptr);
    arriving_.reset();
}

/// Whoever asked for nothing yet, or only for what needs no session.
GstRTSPClient* RtspService::idlest() const {
    GstRTSPClient* found = nullptr;
    const auto look = [](GstRTSPServer*, GstRTSPClient* client, gpointer search) {
        auto& idlest = *static_cast<GstRTSPClient**>(search);
        const bool longer =
            idlest == nullptr || ClientState::of(client).idleSince < ClientState::of(idlest).idleSince;
        if (longer && !ClientState::of(client).ended && !hasSession(client))
            idlest = client;
        return GST_RTSP_FILTER_KEEP;
    };
    g_list_free_full(gst_rtsp_server_client_filter(server_, look, &found), g_object_unref);
    return found;
}

RtspService::Clock::time_point RtspService::idleSince() const {
    GstRTSPClient* const client = idlest();
    return client == nullptr ? Clock::time_point::max() : ClientState::of(client).idleSince;
}

bool RtspService::endIdlest() {
    GstRTSPClient* const client = idlest();
    if (client == nullptr)
        return false;
    ClientState::of(client).ended = true;
    g_object_ref(client);
    endClient(client);
    g_object_unref(client);
    return true;
}

void RtspService::closeClients() {
    g_list_free_full(gst_rtsp_server_client_filter(server_, closeClient, nullptr), g_object_unref);
}

void RtspService::closeOutdatedClients() {
    const auto closeIfOutdated = [](GstRTSPServer*, GstRTSPClient* client, gpointer self) {
        if (static_cast<RtspService*>(self)->isOutdated(client))
            endClient(client);
        return GST_RTSP_FILTER_KEEP;
    };
    g_list_free_full(gst_rtsp_server_client_filter(server_, closeIfOutdated, this), g_object_unref);
}

bool RtspService::isOutdated(GstRTSPClient* client) const {
    OutdatedSearch search{camera_, false};
    g_list_free_full(gst_rtsp_client_session_filter(client, lookAtSession, &search), g_object_unref);
    return search.found;
}

void RtspService::onConnected(GstRTSPServer*, GstRTSPClient* client, gpointer self) {
    ++static_cast<RtspService*>(self)->camera_.counters.rtspClients;
    auto* state = new ClientState;
    state->place = std::move(static_cast<RtspService*>(self)->arriving_);
    g_object_set_data_full(G_OBJECT(client), stateKey, state,
                           [](gpointer old) { delete static_cast<ClientState*>(old); });
    // A client may be told of its end after the service has gone; the camera stays longer.
    g_signal_connect(client, "closed", G_CALLBACK(&RtspService::onClosed),
                     &static_cast<RtspService*>(self)->camera_);
    g_signal_connect(client, "pre-describe-request", G_CALLBACK(&RtspService::beforeStream), self);
    g_signal_connect(client, "pre-setup-request", G_CALLBACK(&RtspService::beforeStream), self);
    g_signal_connect(client, "play-request", G_CALLBACK(&RtspService::onPlaying), self);
}

void RtspService::onClosed(GstRTSPClient* client, gpointer camera) {
    ClientState::of(client).stopCutting();
    ClientState::of(client).place.reset();
    --static_cast<Camera*>(camera)->counters.rtspClients;
}

GstRTSPStatusCode RtspService::beforeStream(GstRTSPClient* client, GstRTSPContext* request, gpointer self) {
    // Who has no right to the stream is told so by what follows, and nothing else.
    return isAuthorized(*request) ? static_cast<RtspService*>(self)->admit(client, *request)
                                  : GST_RTSP_STS_OK;
}

GstRTSPStatusCode RtspService::admit(GstRTSPClient* client, const GstRTSPContext& request) {
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server_);
    gint matched = 0;
    GstRTSPMediaFactory* factory = gst_rtsp_mount_points_match(mounts, request.uri->abspath, &matched);
    g_object_unref(mounts);
    if (factory == nullptr)
        return GST_RTSP_STS_NOT_FOUND;
    const VideoStream stream = streamOf(factory);
    g_object_unref(factory);
    ClientState& state = ClientState::of(client);
    const bool described = request.method == GST_RTSP_SETUP && state.path == stream.path;
    if (!described) {
        state.path = stream.path;
        state.fault =
            faults_
                .take({FaultProtocol::Rtsp, camera_.index(), gst_rtsp_method_as_text(request.method),
                       stream.path, stream.path, true, false})
                .fault;
        if (state.fault)
            ++camera_.counters.faults;
        serveSilently(client, state.fault && state.fault->kind == FaultKind::Silence);
    }
    if (state.fault && state.fault->kind == FaultKind::Refuse)
        return static_cast<GstRTSPStatusCode>(state.fault->status != 0 ? state.fault->status
                                                                       : ordinaryRefusal);
    return isServed(camera_, stream) ? GST_RTSP_STS_OK : GST_RTSP_STS_SERVICE_UNAVAILABLE;
}

void RtspService::onPlaying(GstRTSPClient* client, GstRTSPContext*, gpointer self) {
    ClientState& state = ClientState::of(client);
    if (!state.fault || state.fault->kind != FaultKind::Cut)
        return;
    state.stopCutting();
    state.cut = g_timeout_source_new(static_cast<guint>(state.fault->milliseconds.value_or(0)));
    const auto cut = [](gpointer playing) -> gboolean {
        g_object_ref(playing);
        endClient(GST_RTSP_CLIENT(playing));
        g_object_unref(playing);
        return G_SOURCE_REMOVE;
    };
    g_source_set_callback(state.cut, cut, client, nullptr); // destroyed before the client is
    g_source_attach(state.cut, static_cast<RtspService*>(self)->context_);
}

gboolean RtspService::clean(gpointer self) {
    auto& service = *static_cast<RtspService*>(self);
    GstRTSPSessionPool* sessions = gst_rtsp_server_get_session_pool(service.server_);
    gst_rtsp_session_pool_cleanup(sessions);
    g_object_unref(sessions);
    const auto endIfIdle = [](GstRTSPServer*, GstRTSPClient* client, gpointer longest) {
        ClientState& state = ClientState::of(client);
        const auto allowed = *static_cast<const std::chrono::milliseconds*>(longest);
        if (hasSession(client)) {
            state.idleSince = Clock::now();
        } else if (!state.ended && state.idleSince + allowed <= Clock::now()) {
            state.ended = true;
            endClient(client);
        }
        return GST_RTSP_FILTER_KEEP;
    };
    std::chrono::milliseconds longest = service.times_.idle;
    g_list_free_full(gst_rtsp_server_client_filter(service.server_, endIfIdle, &longest), g_object_unref);
    return G_SOURCE_CONTINUE;
}

} // namespace camsim
