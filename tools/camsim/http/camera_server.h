#pragma once

#include "http/connection_table.h"
#include "http/fault_replies.h"
#include "http/http_daemon.h"
#include "http/input_monitors.h"
#include "http/misbehaviour.h"
#include "http/port_refusals.h"
#include "http/request_log.h"
#include "model/camera.h"
#include "model/faults.h"
#include "net/authenticator.h"
#include "net/listeners.h"
#include "net/parked_connections.h"
#include "net/port_faults.h"
#include "rtsp/rtsp_server.h"

#include <chrono>
#include <memory>
#include <microhttpd.h>
#include <optional>

namespace camsim {

// Answers the HTTP requests of every camera, on the event loop's thread.
class CCameraServer {
public:
    struct SParts {
        CAuthenticator& authenticator;
        CFaultList& faults;
        CRequestLog& log;
        CListeners& listeners;
        CEventLoop& loop;
        CRtspServer* rtsp; // null when the cameras have none
        const std::vector<std::unique_ptr<CCamera>>& cameras;
    };

    struct SLimits {
        std::chrono::milliseconds restartTime;
        std::chrono::milliseconds monitorPeriod; // how often a monitor is written to when nothing changes
        SConnectionTimes times;
        size_t connections; // how many all cameras together may hold open
    };

    CCameraServer(SParts parts, const SLimits& limits);
    ~CCameraServer();

    // To be called before the loop is started. Throws std::runtime_error when the HTTP daemon does not
    // start.
    void start();
    // Lets ports refuse connections as faults say, from now on. To be called once everything but the loop is
    // started.
    void followPortFaults();
    // Stops the loop, lets go what waits and closes every connection. May be called twice.
    void stop();

    // The camera refuses connections for the time that a restart takes, or for this one; those that are open
    // are broken, but `kept`. Any thread.
    void restart(CCamera& camera, int kept = -1, std::optional<std::chrono::milliseconds> time = {});

private:
    struct SExchange;

    static void* onTarget(void* self, const char* target, MHD_Connection* connection);
    static MHD_Result onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                                const char* version, const char* upload, size_t* uploadSize, void** context);
    static void onCompleted(void* self, MHD_Connection* connection, void** context,
                            MHD_RequestTerminationCode reason);
    static void onConnection(void* self, MHD_Connection* connection, void** context,
                             MHD_ConnectionNotificationCode what);

    void bringBack(CCamera& camera);
    void accepted(CCamera& camera, int fd, const sockaddr_in& peer);
    MHD_Result received(SExchange& exchange);
    MHD_Result answer(SExchange& exchange);
    MHD_Result answerWithFault(SExchange& exchange, const SFault& fault);
    std::optional<MHD_Result> misbehave(SExchange& exchange, const SFault& fault);
    MHD_Result answerBehindBasic(SExchange& exchange);
    MHD_Result answerAndSpoil(SExchange& exchange, const SFault& fault);
    MHD_Result sendAndHold(SExchange& exchange, const SFault& fault);
    MHD_Result openMonitor(SExchange& exchange, const std::optional<SFault>& fault);
    MHD_Result reply(SExchange& exchange);
    MHD_Result send(SExchange& exchange, SHttpReply reply);
    SHttpReply challenge(SExchange& exchange, std::optional<AuthScheme> scheme, bool stale);
    SHttpReply ordinaryReply(SExchange& exchange);

    const SParts parts_;
    const SLimits limits_;
    CConnectionTable connections_;
    CHttpDaemon daemon_;
    CParkedConnections parked_;
    CInputMonitors monitors_;
    CStandIns standIns_;     // the loop's thread alone
    CPortFaults portFaults_; // the loop's thread alone
    CPortRefusals refusals_;
};

} // namespace camsim
