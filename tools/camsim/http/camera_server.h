#pragma once

#include "http/connection_table.h"
#include "http/fault_replies.h"
#include "http/http_daemon.h"
#include "http/input_monitors.h"
#include "http/request_log.h"
#include "model/camera.h"
#include "model/faults.h"
#include "net/authenticator.h"
#include "net/listeners.h"
#include "net/parked_connections.h"
#include "rtsp/rtsp_server.h"

#include <chrono>
#include <memory>
#include <microhttpd.h>

namespace camsim {

/// Answers the HTTP requests of every camera, on the event loop's thread.
class CameraServer {
public:
    struct Parts {
        Authenticator& authenticator;
        FaultList& faults;
        RequestLog& log;
        Listeners& listeners;
        EventLoop& loop;
        RtspServer* rtsp; ///< null when the cameras have none
        const std::vector<std::unique_ptr<Camera>>& cameras;
    };

    struct Limits {
        std::chrono::milliseconds restartTime;
        std::chrono::milliseconds monitorPeriod; ///< how often a monitor is written to when nothing changes
        ConnectionTimes times;
        size_t connections; ///< how many all cameras together may hold open
    };

    CameraServer(Parts parts, const Limits& limits);
    ~CameraServer();

    /// To be called before the loop is started. Throws std::runtime_error when the HTTP daemon does not
    /// start.
    void start();
    /// Stops the loop, lets go what waits and closes every connection. May be called twice.
    void stop();

    /// The camera refuses connections for the time that a restart takes; those that are open are broken, but
    /// `kept`. Any thread.
    void restart(Camera& camera, int kept = -1);

private:
    struct Exchange;

    static void* onTarget(void* self, const char* target, MHD_Connection* connection);
    static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                                const char* version, const char* upload, size_t* uploadSize, void** context);
    static void onCompleted(void* self, MHD_Connection* connection, void** context,
                            MHD_RequestTerminationCode reason);
    static void onConnection(void* self, MHD_Connection* connection, void** context,
                             MHD_ConnectionNotificationCode what);

    void bringBack(Camera& camera);
    void accepted(Camera& camera, int fd, const sockaddr_in& peer);
    MHD_Result received(Exchange& exchange);
    MHD_Result answer(Exchange& exchange);
    MHD_Result answerWithFault(Exchange& exchange, const Fault& fault);
    MHD_Result openMonitor(Exchange& exchange, const std::optional<Fault>& fault);
    MHD_Result reply(Exchange& exchange);
    MHD_Result send(Exchange& exchange, HttpReply reply);
    HttpReply challenge(Exchange& exchange, bool stale);
    HttpReply ordinaryReply(Exchange& exchange);

    const Parts parts_;
    const Limits limits_;
    ConnectionTable connections_;
    HttpDaemon daemon_;
    ParkedConnections parked_;
    InputMonitors monitors_;
};

} // namespace camsim
