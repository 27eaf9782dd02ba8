#pragma once

#include "model/camera.h"
#include "model/faults.h"
#include "net/authenticator.h"
#include "net/connection_bounds.h"
#include "net/glib_thread.h"
#include "net/notice.h"
#include "net/port_faults.h"
#include "rtsp/rtsp_connections.h"
#include "rtsp/rtsp_ports.h"
#include "rtsp/rtsp_service.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace camsim {

// Who may have the streams.
struct SRtspCredentials {
    AuthScheme scheme;
    std::string user;
    std::string password;
};

// Serves the streams of every camera by RTSP, all on one thread; GStreamer adds its own while a stream
// plays. A camera takes a socket and nothing else until its first client comes.
class CRtspServer {
public:
    struct SParts {
        const std::vector<std::unique_ptr<CCamera>>& cameras;
        CFaultList& faults;
        CEventLoop& loop;       // accepts the connections
        const CListeners& http; // tells each camera's host
    };

    struct SLimits {
        SConnectionTimes times;
        size_t connections; // how many all cameras together may hold open
    };

    // Takes the ports. Throws CSocketError.
    CRtspServer(SParts parts, SRtspCredentials credentials, const SRtspPortPlan& ports, SLimits limits);
    ~CRtspServer();

    // To be called before the loop is started.
    void start();
    // Closes every connection, ends every stream and joins the thread. To be called once the loop has
    // stopped; may be called twice.
    void stop();

    std::string address(size_t camera) const { return ports_.address(camera); }

    // The camera refuses connections until resume(), and those that are open are closed. Any thread.
    void refuse(CCamera& camera);
    // Throws CSocketError. Any thread.
    void resume(CCamera& camera);

private:
    void settingsChanged(CCamera& camera);
    void accepted(CCamera& camera, int fd, const sockaddr_in& peer);
    void serve(CCamera& camera, int fd, const sockaddr_in& peer, CRtspConnections::Place place);
    void makeRoom();
    void closeAll();

    const SParts parts_;
    // Per camera, whether its clients are to be looked at already: a request can change settings faster than
    // that is done.
    const std::unique_ptr<std::atomic<bool>[]> lookIsDue_;
    const SRtspCredentials credentials_;
    const SLimits limits_;
    CNotice full_;
    CRtspConnections connections_;
    CRtspPorts ports_;
    CPortFaults portFaults_; // the loop's thread alone
    CGlibThread thread_;

    // thread_ alone:
    GstRTSPAuth* auth_ = nullptr;                         // null when no credentials are asked for
    std::vector<std::unique_ptr<CRtspService>> services_; // null before the camera's first client
};

} // namespace camsim
