#include "http/camera_server.h"

#include "model/cgi.h"
#include "model/form.h"

#include <iostream>
#include <unistd.h>

namespace camsim {
namespace {

constexpr size_t longestBody = 64 * 1024;
constexpr size_t longestHeader = 16 * 1024;
/// Hundreds of the longest answer that a camera has as it left the factory.
constexpr size_t mostUnread = 16 * 1024 * 1024;

int64_t millisecondsSinceEpoch() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

const char* headerOf(MHD_Connection* connection, const char* name) {
    return MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
}

CgiRequest requestOf(const std::string& target, const std::string& body) {
    const Target parts = splitTarget(target);
    CgiRequest request{parts.path, parseForm(parts.query)};
    for (auto& parameter : parseForm(body))
        request.parameters.push_back(std::move(parameter));
    return request;
}

HttpReply textReply(unsigned status, std::string body) {
    return {status, std::move(body), {{MHD_HTTP_HEADER_CONTENT_TYPE, "text/plain"}}};
}

} // namespace

/// One request and how far it has come.
struct CameraServer::Exchange {
    enum class Phase { Begun, Receiving, Waiting };

    MHD_Connection* connection;
    ConnectionTable::Entry* owner;
    int fd;
    std::string target;
    Phase phase = Phase::Begun;
    std::string method;
    std::string body;
    CgiRequest request;
    bool monitor = false; ///< its reply stays open

    AuthVerdict verdict{};
    FaultOutcome faults;
    ParkedConnections::Outcome waited = ParkedConnections::Outcome::Stopped;
    uint64_t logId = 0;

    Camera& camera() const { return *owner->camera; }
};

CameraServer::CameraServer(Parts parts, const Limits& limits)
    : parts_(parts),
      limits_(limits),
      daemon_(parts.loop, {limits.times, limits.connections, longestBody, longestHeader, mostUnread, "HTTP"},
              {this, &CameraServer::onRequest, &CameraServer::onCompleted, &CameraServer::onConnection,
               &CameraServer::onTarget}),
      parked_(parts.loop, [this] { daemon_.run(); }),
      monitors_(parts.loop, parked_, limits.monitorPeriod) {
    for (const auto& camera : parts_.cameras)
        monitors_.follow(*camera);
}

CameraServer::~CameraServer() {
    stop();
}

void CameraServer::start() {
    daemon_.start();
    parts_.listeners.start(
        parts_.loop, [this](Camera& camera, int fd, const sockaddr_in& peer) { accepted(camera, fd, peer); });
}

void CameraServer::stop() {
    parts_.loop.stop();
    parked_.release();
    daemon_.stop();
}

void CameraServer::restart(Camera& camera, int kept) {
    if (!camera.away.exchange(true)) {
        parts_.listeners.refuse(camera);
        if (parts_.rtsp != nullptr)
            parts_.rtsp->refuse(camera);
        parts_.loop.after(limits_.restartTime, [this, &camera] { bringBack(camera); });
    }
    connections_.breakConnections(camera, kept);
}

void CameraServer::bringBack(Camera& camera) {
    try {
        parts_.listeners.resume(camera);
        if (parts_.rtsp != nullptr)
            parts_.rtsp->resume(camera);
        camera.away = false; // connections are taken on this thread, so none has come in yet
    } catch (const std::exception& error) {
        std::cerr << "camsim: camera " << camera.index() << " stays away: " << error.what() << "\n";
    }
}

void CameraServer::accepted(Camera& camera, int fd, const sockaddr_in& peer) {
    if (!daemon_.hasRoom()) {
        close(fd);
        return;
    }
    const ConnectionTable::Token token = connections_.add(fd, camera);
    // Looked at after the connection is in the table: whoever takes the camera away either finds it there or
    // is seen.
    if (camera.away) {
        connections_.remove(fd, token);
        close(fd);
        return;
    }
    if (!daemon_.add(fd, peer))
        connections_.remove(fd, token);
}

void CameraServer::onConnection(void* self, MHD_Connection* connection, void** context,
                                MHD_ConnectionNotificationCode what) {
    ConnectionTable& table = static_cast<CameraServer*>(self)->connections_;
    const int fd = HttpDaemon::descriptorOf(connection);
    if (what == MHD_CONNECTION_NOTIFY_STARTED) {
        *context = new ConnectionTable::Entry(table.find(fd));
        return;
    }
    const auto* entry = static_cast<ConnectionTable::Entry*>(*context);
    table.remove(fd, entry->token);
    delete entry;
}

void* CameraServer::onTarget(void*, const char* target, MHD_Connection* connection) {
    void* context = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context;
    auto* exchange = new Exchange{};
    exchange->connection = connection;
    exchange->owner = static_cast<ConnectionTable::Entry*>(context);
    exchange->fd = HttpDaemon::descriptorOf(connection);
    exchange->target = target;
    return exchange;
}

void CameraServer::onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<Exchange*>(*context);
    *context = nullptr;
}

MHD_Result CameraServer::onRequest(void* self, MHD_Connection*, const char*, const char* method, const char*,
                                   const char* upload, size_t* uploadSize, void** context) {
    auto& exchange = *static_cast<Exchange*>(*context);
    auto& server = *static_cast<CameraServer*>(self);
    switch (exchange.phase) {
    case Exchange::Phase::Begun:
        exchange.method = method;
        exchange.phase = Exchange::Phase::Receiving;
        return MHD_YES;
    case Exchange::Phase::Waiting:
        return server.answer(exchange);
    case Exchange::Phase::Receiving:
        break;
    }
    if (*uploadSize == 0)
        return server.received(exchange);
    exchange.body.append(upload, *uploadSize);
    *uploadSize = 0;
    return MHD_YES;
}

MHD_Result CameraServer::received(Exchange& exchange) {
    Camera& camera = exchange.camera();
    const char* authorization = headerOf(exchange.connection, MHD_HTTP_HEADER_AUTHORIZATION);
    exchange.request = requestOf(exchange.target, exchange.body);
    exchange.monitor = exchange.method == MHD_HTTP_METHOD_GET && isMonitorRequest(camera, exchange.request);
    exchange.verdict =
        parts_.authenticator.check(exchange.method, exchange.target, authorization, camera.index());
    exchange.faults = parts_.faults.take(
        {exchange.monitor ? FaultProtocol::Monitor : FaultProtocol::Http, camera.index(), exchange.method,
         exchange.request.path, exchange.target, exchange.verdict.accepted,
         exchange.verdict.accepted && exchange.verdict.credentials == "digest"});
    ++camera.counters.requests;
    if (!exchange.faults.names.empty())
        ++camera.counters.faults;
    exchange.logId = parts_.log.add(
        {0, camera.index(), exchange.method, exchange.target, std::move(exchange.body), false, std::nullopt,
         std::string(exchange.verdict.credentials), exchange.faults.names, millisecondsSinceEpoch()});
    exchange.phase = Exchange::Phase::Waiting;
    const bool waits =
        exchange.faults.delay.count() > 0 &&
        parked_.park(exchange.connection, exchange.fd, exchange.faults.delay, &exchange.waited);
    return waits ? MHD_YES : answer(exchange);
}

MHD_Result CameraServer::answer(Exchange& exchange) {
    const MHD_Result result = reply(exchange);
    exchange.request = {}; // it may be large, and its answer stay open or unread for long
    return result;
}

MHD_Result CameraServer::reply(Exchange& exchange) {
    if (exchange.waited == ParkedConnections::Outcome::HungUp)
        return MHD_NO;
    if (exchange.faults.fault)
        return answerWithFault(exchange, *exchange.faults.fault);
    if (!exchange.verdict.accepted)
        return send(exchange, challenge(exchange, exchange.verdict.credentials == "stale"));
    if (exchange.monitor)
        return openMonitor(exchange, std::nullopt);
    return send(exchange, ordinaryReply(exchange));
}

MHD_Result CameraServer::answerWithFault(Exchange& exchange, const Fault& fault) {
    if (fault.kind == FaultKind::Stale) {
        parts_.authenticator.retireNonce(headerOf(exchange.connection, MHD_HTTP_HEADER_AUTHORIZATION));
        return send(exchange, challenge(exchange, true));
    }
    if (exchange.monitor && exchange.verdict.accepted && breaksMonitor(fault))
        return openMonitor(exchange, fault);
    HttpReply reply = textReply(MHD_HTTP_OK, "");
    if (letsTheRequestThrough(fault.kind))
        reply = exchange.verdict.accepted ? ordinaryReply(exchange) : challenge(exchange, false);
    std::optional<unsigned> status;
    const MHD_Result result = sendFault(fault, reply, {exchange.connection, exchange.fd, parked_}, status);
    if (status)
        parts_.log.answered(exchange.logId, *status);
    return result;
}

MHD_Result CameraServer::openMonitor(Exchange& exchange, const std::optional<Fault>& fault) {
    parts_.log.answered(exchange.logId, MHD_HTTP_OK);
    return monitors_.open(exchange.camera(), exchange.connection, exchange.fd, fault);
}

MHD_Result CameraServer::send(Exchange& exchange, HttpReply reply) {
    if (daemon_.answersPileUp(reply.body.size()))
        reply = textReply(MHD_HTTP_SERVICE_UNAVAILABLE, "Clients leave too many answers unread\r\n");
    parts_.log.answered(exchange.logId, reply.status);
    return daemon_.answer(exchange.connection, reply);
}

HttpReply CameraServer::challenge(Exchange& exchange, bool stale) {
    ++exchange.camera().counters.challenges;
    HttpReply reply = textReply(MHD_HTTP_UNAUTHORIZED, "Unauthorized\r\n");
    reply.headers.emplace_back(MHD_HTTP_HEADER_WWW_AUTHENTICATE,
                               parts_.authenticator.challenge(exchange.camera().index(), stale));
    return reply;
}

HttpReply CameraServer::ordinaryReply(Exchange& exchange) {
    const bool methodKnown =
        exchange.method == "GET" || exchange.method == "HEAD" || exchange.method == "POST";
    if (!methodKnown) {
        HttpReply reply = textReply(MHD_HTTP_METHOD_NOT_ALLOWED, "Method Not Allowed\r\n");
        reply.headers.emplace_back(MHD_HTTP_HEADER_ALLOW, "GET, HEAD, POST");
        return reply;
    }
    CgiReply answered = answerCgi(exchange.camera(), exchange.request);
    HttpReply reply = textReply(answered.status, std::move(answered.body));
    if (answered.restart) {
        // Refusing begins before the answer goes out, so whoever has read the answer finds the camera away.
        restart(exchange.camera(), exchange.fd);
        reply.headers.emplace_back(MHD_HTTP_HEADER_CONNECTION, "close");
    }
    return reply;
}

} // namespace camsim
