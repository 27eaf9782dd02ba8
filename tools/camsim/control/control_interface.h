#pragma once

#include "http/camera_server.h"
#include "http/http_daemon.h"
#include "http/request_log.h"
#include "model/camera.h"
#include "model/faults.h"
#include "model/named_faults.h"
#include "net/authenticator.h"
#include "net/event_loop.h"
#include "net/sockets.h"

#include <memory>
#include <microhttpd.h>
#include <string>
#include <vector>

namespace camsim {

// The HTTP interface through which a test or a person looks at the cameras and does to them what the network
// does not: without credentials, on the loopback interface alone. Runs on a thread of its own.
class CControlInterface {
public:
    struct SParts {
        const std::vector<std::unique_ptr<CCamera>>& cameras;
        const CListeners& listeners;
        CCameraServer& server;
        CAuthenticator& authenticator;
        const CRtspServer* rtsp; // null when the cameras have none
        CFaultList& faults;
        CNamedFaults& named;
        CRequestLog& log;
    };

    struct SLimits {
        SConnectionTimes times;
        size_t connections;
    };

    // Serves at once. Throws CSocketError when the port cannot be had.
    CControlInterface(SParts parts, uint16_t port, const SLimits& limits);
    ~CControlInterface();

    std::string address() const { return FormatAddress(socket_.address()); }

private:
    static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                                const char* version, const char* upload, size_t* uploadSize, void** context);
    static void onCompleted(void* self, MHD_Connection* connection, void** context,
                            MHD_RequestTerminationCode);

    void watch();
    void accept();

    const SParts parts_;
    const CListeningSocket socket_;
    CEventLoop loop_;
    CHttpDaemon daemon_;
};

} // namespace camsim
