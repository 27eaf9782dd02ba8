#include "rtsp/rtsp_service.h"

#include "net/sockets.h"
#include "rtsp/media_factory.h"
#include "rtsp/media_faults.h"

#include <arpa/inet.h>
#include <unistd.h>
#include <utility>

namespace camsim {
namespace {

constexpr const char* StateKey = "camsim-client";
constexpr std::chrono::milliseconds LongestCleaningPeriod{5000};
// How many times within the time limit idle connections are looked for.
constexpr int CleaningsPerIdleTime = 4;
constexpr guint LongestBody = 64 * 1024;
constexpr unsigned OrdinaryRefusal = GST_RTSP_STS_SERVICE_UNAVAILABLE;

GstRTSPFilterResult DropSession(GstRTSPSessionPool*, GstRTSPSession*, gpointer) {
    return GST_RTSP_FILTER_REMOVE;
}

bool HasSession(GstRTSPClient* client) {
    GList* sessions = gst_rtsp_client_session_filter(client, nullptr, nullptr);
    const bool any = sessions != nullptr;
    g_list_free_full(sessions, g_object_unref);
    return any;
}

struct SOutdatedSearch {
    const CCamera& camera;
    bool found;
};

GstRTSPFilterResult LookAtMedia(GstRTSPSession*, GstRTSPSessionMedia* sessionMedia, gpointer search) {
    auto& outdated = *static_cast<SOutdatedSearch*>(search);
    outdated.found =
        outdated.found || !IsCurrent(outdated.camera, gst_rtsp_session_media_get_media(sessionMedia));
    return GST_RTSP_FILTER_KEEP;
}

GstRTSPFilterResult LookAtSession(GstRTSPClient*, GstRTSPSession* session, gpointer search) {
    gst_rtsp_session_filter(session, LookAtMedia, search);
    return GST_RTSP_FILTER_KEEP;
}

bool IsAuthorized(GstRTSPContext& request) {
    GstRTSPAuth* auth = request.auth;
    if (auth == nullptr || request.token != nullptr)
        return true;
    return GST_RTSP_AUTH_GET_CLASS(auth)->authenticate(auth, &request) && request.token != nullptr;
}

GstRTSPStatusCode StatusOf(const SFault& refusal) {
    return static_cast<GstRTSPStatusCode>(refusal.status != 0 ? refusal.status : OrdinaryRefusal);
}

void TurnIntoRefusal(GstRTSPMessage& message, GstRTSPStatusCode status) {
    auto& response = message.type_data.response;
    g_free(response.reason);
    response.code = status;
    response.reason = g_strdup(gst_rtsp_status_as_text(status));
    gst_rtsp_message_remove_header(&message, GST_RTSP_HDR_PUBLIC, -1);
}

GstRTSPServer* MakeServer(CCamera& camera, GstRTSPAuth* auth) {
    GstRTSPServer* server = gst_rtsp_server_new();
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
    for (SVideoStream& stream : VideoStreams(camera.model())) {
        const std::string path = stream.path;
        gst_rtsp_mount_points_add_factory(mounts, path.c_str(),
                                          NewMediaFactory(camera, std::move(stream), CRtspService::Role));
    }
    g_object_unref(mounts);
    GstRTSPThreadPool* threads = gst_rtsp_server_get_thread_pool(server);
    gst_rtsp_thread_pool_set_max_threads(threads, 0); // clients are served on the thread that accepts them
    g_object_unref(threads);
    gst_rtsp_server_set_auth(server, auth);
    gst_rtsp_server_set_content_length_limit(server, LongestBody);
    return server;
}

} // namespace

// What is known of one connection.
struct CRtspService::SClientState {
    SClientState(GstRTSPClient* of, GMainContext* servedIn)
        : client(of), context(g_main_context_ref(servedIn)) {}
    SClientState(const SClientState&) = delete;
    SClientState& operator=(const SClientState&) = delete;

    GstRTSPClient* const client; // which ends with this
    GMainContext* const context;
    std::string path; // of the stream it asked for last
    std::optional<SFault> fault;
    std::optional<SFault> refusal;              // of the request that is being answered
    GSource* cut = nullptr;                     // closes the connection
    Clock::time_point idleSince = Clock::now(); // when it last had a session, as far as was seen
    bool ended = false; // for its idleness; it is gone when the main context has got to it
    CRtspConnections::Place place;

    ~SClientState() {
        stopCutting();
        endTimersOfTheLibrary();
        g_main_context_unref(context);
    }

    void stopCutting() {
        if (cut == nullptr)
            return;
        g_source_destroy(cut);
        g_source_unref(cut);
        cut = nullptr;
    }

    // Version 1.22 of the library starts a timer when a client loses its last session, and forgets it when
    // that happens because the client has gone: it would close whatever comes to stand in the client's
    // memory.
    void endTimersOfTheLibrary() {
        while (GSource* timer = g_main_context_find_source_by_user_data(context, client))
            g_source_destroy(timer);
    }

    static SClientState& of(GstRTSPClient* client) {
        return *static_cast<SClientState*>(g_object_get_data(G_OBJECT(client), StateKey));
    }
};

// Closes the client's connection and forgets its sessions, so that it cannot continue them on another
// connection. The caller must hold a reference: closing drops the others while the client is still in use.
void CRtspService::endClient(GstRTSPClient* client) {
    GstRTSPSessionPool* sessions = gst_rtsp_client_get_session_pool(client);
    GList* own = gst_rtsp_client_session_filter(client, nullptr, nullptr);
    for (const GList* session = own; session != nullptr; session = session->next)
        gst_rtsp_session_pool_remove(sessions, GST_RTSP_SESSION(session->data));
    g_list_free_full(own, g_object_unref);
    g_object_unref(sessions);
    SClientState::of(client).place.reset();
    gst_rtsp_client_close(client);
}

GstRTSPFilterResult CRtspService::closeClient(GstRTSPServer*, GstRTSPClient* client, gpointer) {
    endClient(client);
    return GST_RTSP_FILTER_KEEP;
}

CRtspService::CRtspService(CCamera& camera, CFaultList& faults, GstRTSPAuth* auth,
                           const SConnectionTimes& times, GMainContext* context)
    : camera_(camera),
      faults_(faults),
      times_(times),
      context_(context),
      server_(MakeServer(camera, auth)),
      cleaning_(g_timeout_source_new(
          static_cast<guint>(std::min(LongestCleaningPeriod, times.idle / CleaningsPerIdleTime).count()))) {
    g_signal_connect(server_, "client-connected", G_CALLBACK(&CRtspService::onConnected), this);
    g_source_set_callback(cleaning_, &CRtspService::clean, this, nullptr);
    g_source_attach(cleaning_, context_);
}

CRtspService::~CRtspService() {
    g_source_destroy(cleaning_);
    g_source_unref(cleaning_);
    closeClients();
    GstRTSPSessionPool* sessions = gst_rtsp_server_get_session_pool(server_);
    gst_rtsp_session_pool_filter(sessions, DropSession, nullptr);
    g_object_unref(sessions);
    g_object_unref(server_);
}

void CRtspService::serve(int fd, const sockaddr_in& peer, CRtspConnections::Place place) {
    EndWhenUnread(fd, times_.unread);
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

// Of the clients without a session: they have asked for nothing yet, or only for what needs none.
GstRTSPClient* CRtspService::idlest() const {
    GstRTSPClient* found = nullptr;
    const auto look = [](GstRTSPServer*, GstRTSPClient* client, gpointer search) {
        auto& idlest = *static_cast<GstRTSPClient**>(search);
        const bool longer =
            idlest == nullptr || SClientState::of(client).idleSince < SClientState::of(idlest).idleSince;
        if (longer && !SClientState::of(client).ended && !HasSession(client))
            idlest = client;
        return GST_RTSP_FILTER_KEEP;
    };
    g_list_free_full(gst_rtsp_server_client_filter(server_, look, &found), g_object_unref);
    return found;
}

CRtspService::Clock::time_point CRtspService::idleSince() const {
    GstRTSPClient* const client = idlest();
    return client == nullptr ? Clock::time_point::max() : SClientState::of(client).idleSince;
}

bool CRtspService::endIdlest() {
    GstRTSPClient* const client = idlest();
    if (client == nullptr)
        return false;
    SClientState::of(client).ended = true;
    g_object_ref(client);
    endClient(client);
    g_object_unref(client);
    return true;
}

void CRtspService::closeClients() {
    g_list_free_full(gst_rtsp_server_client_filter(server_, closeClient, nullptr), g_object_unref);
}

void CRtspService::closeOutdatedClients() {
    const auto closeIfOutdated = [](GstRTSPServer*, GstRTSPClient* client, gpointer self) {
        if (static_cast<CRtspService*>(self)->isOutdated(client))
            endClient(client);
        return GST_RTSP_FILTER_KEEP;
    };
    g_list_free_full(gst_rtsp_server_client_filter(server_, closeIfOutdated, this), g_object_unref);
}

bool CRtspService::isOutdated(GstRTSPClient* client) const {
    SOutdatedSearch search{camera_, false};
    g_list_free_full(gst_rtsp_client_session_filter(client, LookAtSession, &search), g_object_unref);
    return search.found;
}

void CRtspService::onConnected(GstRTSPServer*, GstRTSPClient* client, gpointer self) {
    ++static_cast<CRtspService*>(self)->camera_.counters.rtspClients;
    auto* state = new SClientState(client, static_cast<CRtspService*>(self)->context_);
    state->place = std::move(static_cast<CRtspService*>(self)->arriving_);
    g_object_set_data_full(G_OBJECT(client), StateKey, state,
                           [](gpointer old) { delete static_cast<SClientState*>(old); });
    // The signal may come when this service no longer exists, so it is given the camera, which outlives it.
    g_signal_connect(client, "closed", G_CALLBACK(&CRtspService::onClosed),
                     &static_cast<CRtspService*>(self)->camera_);
    g_signal_connect(client, "pre-options-request", G_CALLBACK(&CRtspService::beforeOptions), self);
    g_signal_connect(client, "pre-describe-request", G_CALLBACK(&CRtspService::beforeStream), self);
    g_signal_connect(client, "pre-setup-request", G_CALLBACK(&CRtspService::beforeStream), self);
    g_signal_connect(client, "pre-play-request", G_CALLBACK(&CRtspService::beforePlay), self);
    g_signal_connect(client, "send-message", G_CALLBACK(&CRtspService::beforeSending), nullptr);
    g_signal_connect(client, "play-request", G_CALLBACK(&CRtspService::onPlaying), self);
}

void CRtspService::onClosed(GstRTSPClient* client, gpointer camera) {
    SClientState::of(client).stopCutting();
    SClientState::of(client).place.reset();
    --static_cast<CCamera*>(camera)->counters.rtspClients;
}

GstRTSPStatusCode CRtspService::beforeStream(GstRTSPClient* client, GstRTSPContext* request, gpointer self) {
    // The server refuses an unauthorised request itself, right after this; it must not use up a fault.
    return IsAuthorized(*request) ? static_cast<CRtspService*>(self)->admit(client, *request)
                                  : GST_RTSP_STS_OK;
}

GstRTSPStatusCode CRtspService::admit(GstRTSPClient* client, const GstRTSPContext& request) {
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server_);
    gint matched = 0;
    GstRTSPMediaFactory* factory = gst_rtsp_mount_points_match(mounts, request.uri->abspath, &matched);
    g_object_unref(mounts);
    if (factory == nullptr)
        return GST_RTSP_STS_NOT_FOUND;
    const SVideoStream stream = StreamOf(factory);
    g_object_unref(factory);
    SClientState& state = SClientState::of(client);
    const bool begins = request.method != GST_RTSP_SETUP || state.path != stream.path;
    const std::optional<SFault> fault = takeFault(request, stream.path, begins);
    if (begins) {
        state.path = stream.path;
        state.fault = fault;
        SetMediaFault(client, fault);
    }
    const GstRTSPStatusCode refusal = refuseIfAsked(client, fault);
    if (refusal != GST_RTSP_STS_OK)
        return refusal;
    return IsServed(camera_, stream) ? GST_RTSP_STS_OK : GST_RTSP_STS_SERVICE_UNAVAILABLE;
}

std::optional<SFault> CRtspService::takeFault(const GstRTSPContext& request, const std::string& path,
                                              bool begins) {
    const std::string target = request.uri == nullptr ? path : request.uri->abspath; // with "/stream=1"
    std::optional<SFault> fault =
        faults_
            .take({FaultProtocol::Rtsp, camera_.index(), gst_rtsp_method_as_text(request.method), path,
                   target, true, false, begins})
            .fault;
    if (fault)
        ++camera_.counters.faults;
    return fault;
}

GstRTSPStatusCode CRtspService::refuseIfAsked(GstRTSPClient* client, const std::optional<SFault>& fault) {
    SClientState& state = SClientState::of(client);
    state.refusal.reset();
    if (!fault || fault->kind != FaultKind::Refuse)
        return GST_RTSP_STS_OK;
    state.refusal = fault;
    return StatusOf(*fault);
}

// Who asks for OPTIONS is asked for no credentials. A refusal that is answered from here makes version 1.22
// of the library free a message on its stack, so the answer is turned into one when it is sent.
GstRTSPStatusCode CRtspService::beforeOptions(GstRTSPClient* client, GstRTSPContext* request, gpointer self) {
    auto& service = *static_cast<CRtspService*>(self);
    const std::string path = request->uri == nullptr ? "*" : request->uri->abspath;
    service.refuseIfAsked(client, service.takeFault(*request, path, false));
    return GST_RTSP_STS_OK;
}

GstRTSPStatusCode CRtspService::beforePlay(GstRTSPClient* client, GstRTSPContext* request, gpointer self) {
    auto& service = *static_cast<CRtspService*>(self);
    return service.refuseIfAsked(client, service.takeFault(*request, SClientState::of(client).path, false));
}

void CRtspService::beforeSending(GstRTSPClient* client, GstRTSPContext* request, GstRTSPMessage* message,
                                 gpointer) {
    SClientState& state = SClientState::of(client);
    if (!state.refusal || gst_rtsp_message_get_type(message) != GST_RTSP_MESSAGE_RESPONSE)
        return;
    const SFault refusal = *std::exchange(state.refusal, std::nullopt);
    if (request->method == GST_RTSP_OPTIONS)
        TurnIntoRefusal(*message, StatusOf(refusal));
    if (refusal.location)
        gst_rtsp_message_add_header(message, GST_RTSP_HDR_LOCATION, refusal.location->c_str());
    if (refusal.challenge)
        gst_rtsp_message_add_header(message, GST_RTSP_HDR_WWW_AUTHENTICATE, refusal.challenge->c_str());
}

void CRtspService::onPlaying(GstRTSPClient* client, GstRTSPContext*, gpointer self) {
    SClientState& state = SClientState::of(client);
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
    g_source_attach(state.cut, static_cast<CRtspService*>(self)->context_);
}

gboolean CRtspService::clean(gpointer self) {
    auto& service = *static_cast<CRtspService*>(self);
    GstRTSPSessionPool* sessions = gst_rtsp_server_get_session_pool(service.server_);
    gst_rtsp_session_pool_cleanup(sessions);
    g_object_unref(sessions);
    const auto endIfIdle = [](GstRTSPServer*, GstRTSPClient* client, gpointer longest) {
        SClientState& state = SClientState::of(client);
        const auto allowed = *static_cast<const std::chrono::milliseconds*>(longest);
        if (HasSession(client)) {
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
