#pragma once

#include "model/camera.h"
#include "model/faults.h"
#include "net/authenticator.h"
#include "net/connection_bounds.h"
#include "net/glib_thread.h"
#include "net/notice.h"
#include "rtsp/rtsp_connections.h"
#include "rtsp/rtsp_ports.h"
#include "rtsp/rtsp_service.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace camsim {

/// Who may have the streams.
struct RtspCredentials {
    AuthScheme scheme;
    std::string user;
    std::string password;
};

/// Serves the streams of every camera by RTSP, all on one thread; GStreamer adds its own while a stream
/// plays. A camera takes a socket and nothing else until its first client comes.
class RtspServer {
public:
    struct Parts {
        const std::vector<std::unique_ptr<Camera>>& cameras;
        FaultList& faults;
        EventLoop& loop;       ///< accepts the connections
        const Listeners& http; ///< tells each camera's host
    };

    struct Limits {
        ConnectionTimes times;
        size_t connections; ///< how many all cameras together may hold open
    };

    /// Takes the ports. Throws SocketError.
    RtspServer(Parts parts, RtspCredentials credentials, const RtspPortPlan& ports, Limits limits);
    ~RtspServer();

    /// To be called before the loop is started.
    void start();
    /// Closes every connection, ends every stream and joins the thread. To be called once the loop has
    /// stopped; may be called twice.
    void stop();

    std::string address(size_t camera) const { return ports_.address(camera); }

    /// The camera refuses connections until resume(), and those that are open are closed. Any thread.
    void refuse(Camera& camera);
    /// Throws SocketError. Any thread.
    void resume(Camera& camera);

private:
    void settingsChanged(Camera& camera);
    void accepted(Camera& camera, int fd, const sockaddr_in& peer);
    void serve(Camera& camera, int fd, const sockaddr_in& peer, RtspConnections::Place place);
    void makeRoom();
    void closeAll();

    const Parts parts_;
    /// Per camera, whether its clients are to be looked at already: a request can change settings faster than
    /// that is done.
    const std::unique_ptr<std::atomic<bool>[]> lookIsDue_;
    const RtspCredentials credentials_;
    const Limits limits_;
    Notice full_;
    RtspConnections connections_;
    RtspPorts ports_;
    GlibThread thread_;

    // thread_ alone:
    bool gstreamerIsReady_ = false; ///< it takes time and memory, so it is begun for the first client
    GstRTSPAuth* auth_ = nullptr;   ///< null when no credentials are asked for
    std::vector<std::unique_ptr<RtspService>> services_; ///< null before the camera's first client
};

} // namespace camsim
