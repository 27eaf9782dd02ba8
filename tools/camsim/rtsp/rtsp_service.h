#pragma once

#include "model/camera.h"
#include "model/faults.h"
#include "net/connection_bounds.h"
#include "rtsp/rtsp_connections.h"

#include <chrono>
#include <gst/rtsp-server/rtsp-server.h>
#include <memory>
#include <netinet/in.h>
#include <optional>

namespace camsim {

// One camera's RTSP. A connection that has no session for too long is ended. Everything runs on the thread
// whose main context `context` is.
class CRtspService {
public:
    // `auth`: who may have the streams; null: everyone. Not owned, like the rest.
    CRtspService(CCamera& camera, CFaultList& faults, GstRTSPAuth* auth, const SConnectionTimes& times,
                 GMainContext* context);
    // Closes every connection and ends every stream.
    ~CRtspService();
    CRtspService(const CRtspService&) = delete;
    CRtspService& operator=(const CRtspService&) = delete;

    // Serves an accepted connection, whose descriptor it takes over. To be called from a source of the
    // context.
    void serve(int fd, const sockaddr_in& peer, CRtspConnections::Place place);

    using Clock = std::chrono::steady_clock;
    // Since when the connection that has been without a session for longest has; max() when all have one.
    Clock::time_point idleSince() const;
    // Ends that connection; false when there is none.
    bool endIdlest();

    void closeClients();
    // Closes the connections of those clients whose stream is no longer what the settings say.
    void closeOutdatedClients();

    // The role under which clients may use the streams.
    static constexpr const char* Role = "viewer";

private:
    struct SClientState;

    static void endClient(GstRTSPClient* client);
    static GstRTSPFilterResult closeClient(GstRTSPServer*, GstRTSPClient* client, gpointer);
    static void onConnected(GstRTSPServer*, GstRTSPClient* client, gpointer self);
    static void onClosed(GstRTSPClient* client, gpointer camera);
    static GstRTSPStatusCode beforeStream(GstRTSPClient* client, GstRTSPContext* request, gpointer self);
    static void onPlaying(GstRTSPClient* client, GstRTSPContext* request, gpointer self);
    static gboolean clean(gpointer self);

    static GstRTSPStatusCode beforeOptions(GstRTSPClient* client, GstRTSPContext* request, gpointer self);
    static GstRTSPStatusCode beforePlay(GstRTSPClient* client, GstRTSPContext* request, gpointer self);
    static void beforeSending(GstRTSPClient* client, GstRTSPContext* request, GstRTSPMessage* message,
                              gpointer);

    std::optional<SFault> takeFault(const GstRTSPContext& request, const std::string& path, bool begins);
    GstRTSPStatusCode refuseIfAsked(GstRTSPClient* client, const std::optional<SFault>& fault);
    GstRTSPStatusCode admit(GstRTSPClient* client, const GstRTSPContext& request);
    bool isOutdated(GstRTSPClient* client) const;
    GstRTSPClient* idlest() const;

    CCamera& camera_;
    CFaultList& faults_;
    const SConnectionTimes times_;
    GMainContext* const context_;
    GstRTSPServer* const server_;
    GSource* const cleaning_;
    CRtspConnections::Place arriving_; // of the connection that is being taken over
};

} // namespace camsim
