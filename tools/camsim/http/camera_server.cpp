#include "http/camera_server.h"

#include "model/arbitrary_bytes.h"
#include "model/cgi.h"
#include "model/form.h"

#include <iostream>
#include <sys/socket.h>
#include <unistd.h>

namespace camsim {
namespace {

using SystemClock = std::chrono::system_clock;

constexpr size_t LongestBody = 64 * 1024;
constexpr size_t LongestHeader = 16 * 1024;
// In bytes: room for hundreds of answers as long as the longest that a camera with factory settings gives.
constexpr size_t MostUnread = 16 * 1024 * 1024;

int64_t MillisecondsSinceEpoch() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

const char* HeaderOf(MHD_Connection* connection, const char* name) {
    return MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
}

SCgiRequest RequestOf(const std::string& target, const std::string& body) {
    const STarget parts = SplitTarget(target);
    SCgiRequest request{parts.path, ParseForm(parts.query)};
    for (auto& parameter : ParseForm(body))
        request.parameters.push_back(std::move(parameter));
    return request;
}

SHttpReply TextReply(unsigned status, std::string body) {
    return {status, std::move(body), {{MHD_HTTP_HEADER_CONTENT_TYPE, "text/plain"}}};
}

} // namespace

// One request and how far it has come.
struct CCameraServer::SExchange {
    enum class Phase { Begun, Receiving, Waiting };

    MHD_Connection* connection;
    CConnectionTable::SEntry* owner;
    int fd;
    std::string target;
    Phase phase = Phase::Begun;
    std::string method;
    std::string body;
    SCgiRequest request;
    bool monitor = false; // its reply stays open

    SAuthVerdict verdict{};
    SFaultOutcome faults;
    CParkedConnections::Outcome waited = CParkedConnections::Outcome::Stopped;
    uint64_t logId = 0;
    WrittenSettings written;
    bool held = false; // what goes out instead of an answer has gone out

    CCamera& camera() const { return *owner->camera; }
};

CCameraServer::CCameraServer(SParts parts, const SLimits& limits)
    : parts_(parts),
      limits_(limits),
      daemon_(parts.loop, {limits.times, limits.connections, LongestBody, LongestHeader, MostUnread, "HTTP"},
              {this, &CCameraServer::onRequest, &CCameraServer::onCompleted, &CCameraServer::onConnection,
               &CCameraServer::onTarget}),
      parked_(parts.loop, [this] { daemon_.run(); }),
      monitors_(parts.loop, parked_, limits.monitorPeriod),
      standIns_(parts.cameras.size()),
      portFaults_(WebPort, parts.faults, parts.loop, limits.connections),
      refusals_({parts.faults, parts.listeners, parts.rtsp, parts.cameras, connections_}) {
    for (const auto& camera : parts_.cameras)
        monitors_.follow(*camera);
}

CCameraServer::~CCameraServer() {
    stop();
}

void CCameraServer::start() {
    daemon_.start();
    parts_.listeners.start(parts_.loop, [this](CCamera& camera, int fd, const sockaddr_in& peer) {
        accepted(camera, fd, peer);
    });
}

void CCameraServer::followPortFaults() {
    parts_.faults.onChange([this] { refusals_.apply(); });
    refusals_.apply();
}

void CCameraServer::stop() {
    parts_.loop.stop();
    parked_.release();
    daemon_.stop();
}

void CCameraServer::restart(CCamera& camera, int kept, std::optional<std::chrono::milliseconds> time) {
    if (!camera.away.exchange(true)) {
        parts_.listeners.refuse(camera);
        if (parts_.rtsp != nullptr)
            parts_.rtsp->refuse(camera);
        parts_.loop.after(time.value_or(limits_.restartTime), [this, &camera] { bringBack(camera); });
    }
    connections_.breakConnections(camera, kept);
}

void CCameraServer::bringBack(CCamera& camera) {
    try {
        refusals_.resume(camera);
        camera.away = false; // in time: connections are accepted on this same thread, so none has come in yet
    } catch (const std::exception& error) {
        std::cerr << "camsim: camera " << camera.index() << " stays away: " << error.what() << "\n";
    }
}

void CCameraServer::accepted(CCamera& camera, int fd, const sockaddr_in& peer) {
    if (portFaults_.take(camera, fd))
        return;
    if (!daemon_.hasRoom()) {
        close(fd);
        return;
    }
    const CConnectionTable::Token token = connections_.add(fd, camera);
    // Checked only now that the connection is in the table. A restart sets this flag and then breaks the
    // connections in the table, so each connection is caught by the one or the other.
    if (camera.away) {
        connections_.remove(fd, token);
        close(fd);
        return;
    }
    if (!daemon_.add(fd, peer))
        connections_.remove(fd, token);
}

void CCameraServer::onConnection(void* self, MHD_Connection* connection, void** context,
                                 MHD_ConnectionNotificationCode what) {
    CConnectionTable& table = static_cast<CCameraServer*>(self)->connections_;
    const int fd = CHttpDaemon::descriptorOf(connection);
    if (what == MHD_CONNECTION_NOTIFY_STARTED) {
        *context = new CConnectionTable::SEntry(table.find(fd));
        return;
    }
    const auto* entry = static_cast<CConnectionTable::SEntry*>(*context);
    table.remove(fd, entry->token);
    delete entry;
}

void* CCameraServer::onTarget(void*, const char* target, MHD_Connection* connection) {
    void* context = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context;
    auto* exchange = new SExchange{};
    exchange->connection = connection;
    exchange->owner = static_cast<CConnectionTable::SEntry*>(context);
    exchange->fd = CHttpDaemon::descriptorOf(connection);
    exchange->target = target;
    return exchange;
}

void CCameraServer::onCompleted(void*, MHD_Connection*, void** context, MHD_RequestTerminationCode) {
    delete static_cast<SExchange*>(*context);
    *context = nullptr;
}

MHD_Result CCameraServer::onRequest(void* self, MHD_Connection*, const char*, const char* method, const char*,
                                    const char* upload, size_t* uploadSize, void** context) {
    auto& exchange = *static_cast<SExchange*>(*context);
    auto& server = *static_cast<CCameraServer*>(self);
    switch (exchange.phase) {
    case SExchange::Phase::Begun:
        exchange.method = method;
        exchange.phase = SExchange::Phase::Receiving;
        return MHD_YES;
    case SExchange::Phase::Waiting:
        return server.answer(exchange);
    case SExchange::Phase::Receiving:
        break;
    }
    if (*uploadSize == 0)
        return server.received(exchange);
    exchange.body.append(upload, *uploadSize);
    *uploadSize = 0;
    return MHD_YES;
}

MHD_Result CCameraServer::received(SExchange& exchange) {
    CCamera& camera = exchange.camera();
    const char* authorization = HeaderOf(exchange.connection, MHD_HTTP_HEADER_AUTHORIZATION);
    exchange.request = RequestOf(exchange.target, exchange.body);
    exchange.monitor = exchange.method == MHD_HTTP_METHOD_GET && IsMonitorRequest(camera, exchange.request);
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
         std::string(exchange.verdict.credentials), exchange.faults.names, MillisecondsSinceEpoch()});
    exchange.phase = SExchange::Phase::Waiting;
    const bool waits =
        exchange.faults.delay.count() > 0 &&
        parked_.park(exchange.connection, exchange.fd, exchange.faults.delay, &exchange.waited);
    return waits ? MHD_YES : answer(exchange);
}

MHD_Result CCameraServer::answer(SExchange& exchange) {
    const MHD_Result result = reply(exchange);
    exchange.request = {}; // frees its memory now: the answer may take long to go out
    return result;
}

MHD_Result CCameraServer::reply(SExchange& exchange) {
    if (exchange.waited == CParkedConnections::Outcome::HungUp)
        return MHD_NO;
    if (exchange.faults.fault)
        return answerWithFault(exchange, *exchange.faults.fault);
    if (!exchange.verdict.accepted)
        return send(exchange, challenge(exchange, {}, exchange.verdict.credentials == "stale"));
    if (exchange.monitor)
        return openMonitor(exchange, std::nullopt);
    return send(exchange, ordinaryReply(exchange));
}

MHD_Result CCameraServer::answerWithFault(SExchange& exchange, const SFault& fault) {
    if (exchange.monitor && exchange.verdict.accepted && BreaksMonitor(fault))
        return openMonitor(exchange, fault);
    if (const std::optional<MHD_Result> result = misbehave(exchange, fault))
        return *result;
    SHttpReply reply = TextReply(MHD_HTTP_OK, "");
    if (LetsTheRequestThrough(fault.kind))
        reply = exchange.verdict.accepted ? ordinaryReply(exchange) : challenge(exchange, {}, false);
    if (exchange.faults.clock)
        reply.headers.emplace_back(MHD_HTTP_HEADER_DATE, DateOf(*exchange.faults.clock, SystemClock::now()));
    std::optional<unsigned> status;
    const MHD_Result result =
        SendFault(fault, reply, {exchange.connection, exchange.fd, parked_, exchange.target}, status);
    if (status)
        parts_.log.answered(exchange.logId, *status);
    return result;
}

// Faults of the camera itself, rather than of the bytes of its answer.
std::optional<MHD_Result> CCameraServer::misbehave(SExchange& exchange, const SFault& fault) {
    switch (fault.kind) {
    case FaultKind::Stale:
        parts_.authenticator.retireNonce(HeaderOf(exchange.connection, MHD_HTTP_HEADER_AUTHORIZATION));
        return send(exchange, challenge(exchange, {}, true));
    case FaultKind::Deny:
        return send(exchange, challenge(exchange, {}, false));
    case FaultKind::Basic:
        return answerBehindBasic(exchange);
    case FaultKind::Restart:
        restart(exchange.camera(), exchange.fd,
                fault.milliseconds ? std::optional(std::chrono::milliseconds(*fault.milliseconds))
                                   : std::nullopt);
        return MHD_NO;
    case FaultKind::Alter:
    case FaultKind::Revert:
        if (exchange.verdict.accepted)
            return answerAndSpoil(exchange, fault);
        return std::nullopt;
    case FaultKind::Swap: {
        if (!exchange.verdict.accepted)
            return send(exchange, challenge(exchange, {}, false));
        SCgiReply answered = AnswerCgi(standIns_.of(exchange.camera(), *fault.model), exchange.request);
        return send(exchange, TextReply(answered.status, std::move(answered.body)));
    }
    case FaultKind::Garbage:
        return fault.milliseconds ? std::optional(sendAndHold(exchange, fault)) : std::nullopt;
    default:
        return std::nullopt;
    }
}

MHD_Result CCameraServer::answerBehindBasic(SExchange& exchange) {
    exchange.verdict = parts_.authenticator.checkAs(
        AuthScheme::Basic, exchange.method, exchange.target,
        HeaderOf(exchange.connection, MHD_HTTP_HEADER_AUTHORIZATION), exchange.camera().index());
    if (!exchange.verdict.accepted)
        return send(exchange, challenge(exchange, AuthScheme::Basic, false));
    return exchange.monitor ? openMonitor(exchange, std::nullopt) : send(exchange, ordinaryReply(exchange));
}

MHD_Result CCameraServer::answerAndSpoil(SExchange& exchange, const SFault& fault) {
    const SHttpReply reply = ordinaryReply(exchange);
    const auto spoil = [&camera = exchange.camera(), written = std::move(exchange.written),
                        kind = fault.kind] { Spoil(camera, written, kind); };
    if (fault.milliseconds)
        parts_.loop.after(std::chrono::milliseconds(*fault.milliseconds), spoil);
    else
        spoil();
    return send(exchange, reply);
}

// Called again when the time that the connection is held for is over.
MHD_Result CCameraServer::sendAndHold(SExchange& exchange, const SFault& fault) {
    if (exchange.held)
        return MHD_NO;
    exchange.held = true;
    const std::string bytes = GarbageOf(fault);
    ::send(exchange.fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    const std::chrono::milliseconds time(*fault.milliseconds);
    return parked_.park(exchange.connection, exchange.fd, time, &exchange.waited) ? MHD_YES : MHD_NO;
}

MHD_Result CCameraServer::openMonitor(SExchange& exchange, const std::optional<SFault>& fault) {
    parts_.log.answered(exchange.logId, MHD_HTTP_OK);
    return monitors_.open(exchange.camera(), exchange.connection, exchange.fd, fault);
}

MHD_Result CCameraServer::send(SExchange& exchange, SHttpReply reply) {
    if (daemon_.answersPileUp(reply.body.size()))
        reply = TextReply(MHD_HTTP_SERVICE_UNAVAILABLE, "Clients leave too many answers unread\r\n");
    if (exchange.faults.clock)
        reply.headers.emplace_back(MHD_HTTP_HEADER_DATE, DateOf(*exchange.faults.clock, SystemClock::now()));
    parts_.log.answered(exchange.logId, reply.status);
    return daemon_.answer(exchange.connection, reply);
}

// `scheme`: as if it were the camera's.
SHttpReply CCameraServer::challenge(SExchange& exchange, std::optional<AuthScheme> scheme, bool stale) {
    CCamera& camera = exchange.camera();
    ++camera.counters.challenges;
    SHttpReply reply = TextReply(MHD_HTTP_UNAUTHORIZED, "Unauthorized\r\n");
    reply.headers.emplace_back(MHD_HTTP_HEADER_WWW_AUTHENTICATE,
                               scheme ? parts_.authenticator.challengeAs(*scheme, camera.index(), stale)
                                      : parts_.authenticator.challenge(camera.index(), stale));
    return reply;
}

SHttpReply CCameraServer::ordinaryReply(SExchange& exchange) {
    const bool methodKnown =
        exchange.method == "GET" || exchange.method == "HEAD" || exchange.method == "POST";
    if (!methodKnown) {
        SHttpReply reply = TextReply(MHD_HTTP_METHOD_NOT_ALLOWED, "Method Not Allowed\r\n");
        reply.headers.emplace_back(MHD_HTTP_HEADER_ALLOW, "GET, HEAD, POST");
        return reply;
    }
    SCgiReply answered = AnswerCgi(exchange.camera(), exchange.request);
    exchange.written = std::move(answered.written);
    SHttpReply reply = TextReply(answered.status, std::move(answered.body));
    if (answered.restart) {
        // Before the answer goes out: a client that has read it must find the camera away.
        restart(exchange.camera(), exchange.fd);
        reply.headers.emplace_back(MHD_HTTP_HEADER_CONNECTION, "close");
    }
    return reply;
}

} // namespace camsim
