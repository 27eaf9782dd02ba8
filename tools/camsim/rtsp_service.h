#pragma once

#include "camera.h"
#include "faults.h"

#include <gst/rtsp-server/rtsp-server.h>
#include <netinet/in.h>

namespace camsim {

/// One camera's RTSP. Everything runs on the thread whose main context `context` is.
class RtspService {
public:
    /// `auth`: who may have the streams; null: everyone. Not owned, like the rest.
    RtspService(Camera& camera, FaultList& faults, GstRTSPAuth* auth, GMainContext* context);
    /// Closes every connection and ends every stream.
    ~RtspService();
    RtspService(const RtspService&) = delete;
    RtspService& operator=(const RtspService&) = delete;

    /// Serves an accepted connection, whose descriptor it takes over. To be called from a source of the
    /// context.
    void serve(int fd, const sockaddr_in& peer);

    void closeClients();
    /// Closes the connections of those clients whose stream is no longer what the settings say.
    void closeOutdatedClients();

    /// The role under which clients may use the streams.
    static constexpr const char* role = "viewer";

private:
    struct ClientState;

    static void onConnected(GstRTSPServer*, GstRTSPClient* client, gpointer self);
    static void onClosed(GstRTSPClient* client, gpointer camera);
    static GstRTSPStatusCode beforeStream(GstRTSPClient* client, GstRTSPContext* request, gpointer self);
    static void onPlaying(GstRTSPClient* client, GstRTSPContext* request, gpointer self);
    static gboolean removeDeadSessions(gpointer self);

    GstRTSPStatusCode admit(GstRTSPClient* client, const GstRTSPContext& request);
    bool isOutdated(GstRTSPClient* client) const;

    Camera& camera_;
    FaultList& faults_;
    GMainContext* const context_;
    GstRTSPServer* const server_;
    GSource* const cleaning_;
};

} // namespace camsim
