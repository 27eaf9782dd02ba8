#pragma once

#include "http/camera_server.h"
#include "http/http_daemon.h"
#include "http/request_log.h"
#include "model/camera.h"
#include "model/faults.h"
#include "net/authenticator.h"
#include "net/event_loop.h"
#include "net/sockets.h"

#include <memory>
#include <microhttpd.h>
#include <string>
#include <vector>

namespace camsim {

/// The HTTP interface through which a test or a person looks at the cameras and does to them what the network
/// does not: without credentials, on the loopback interface alone. Runs on a thread of its own.
class ControlInterface {
public:
    struct Parts {
        const std::vector<std::unique_ptr<Camera>>& cameras;
        const Listeners& listeners;
        CameraServer& server;
        Authenticator& authenticator;
        const RtspServer* rtsp; ///< null when the cameras have none
        FaultList& faults;
        RequestLog& log;
    };

    struct Limits {
        ConnectionTimes times;
        size_t connections;
    };

    /// Serves at once. Throws SocketError when the port cannot be had.
    ControlInterface(Parts parts, uint16_t port, const Limits& limits);
    ~ControlInterface();

    std::string address() const { return formatAddress(socket_.address()); }

private:
    static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                                const char* version, const char* upload, size_t* uploadSize, void** context);
    static void onCompleted(void* self, MHD_Connection* connection, void** context,
                            MHD_RequestTerminationCode);

    void watch();
    void accept();

    const Parts parts_;
    const ListeningSocket socket_;
    EventLoop loop_;
    HttpDaemon daemon_;
};

} // namespace camsim
