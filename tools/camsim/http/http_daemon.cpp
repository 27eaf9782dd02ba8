#include "http/http_daemon.h"

#include "model/numbers.h"
#include "net/sockets.h"

#include <algorithm>
#include <stdexcept>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <utility>

namespace camsim {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds LongestLookPeriod{1000};
// How many times within the shortest time limit overdue connections are looked for.
constexpr int LooksPerTime = 4;
// Connections beyond the limit that libmicrohttpd may hold: those that have been ended and not yet closed.
constexpr unsigned Leaving = 64;

// Answers up to this many bytes are never refused; the answer that says why others are is one of them.
constexpr size_t ShortAnswer = 4096;

constexpr std::string_view BodyIsTooLong = "HTTP/1.1 413 Content Too Large\r\nConnection: close\r\n"
                                           "Content-Length: 0\r\n\r\n";

} // namespace

CHttpDaemon::CHttpDaemon(CEventLoop& loop, SLimits limits, SCallbacks callbacks)
    : loop_(loop),
      limits_(std::move(limits)),
      callbacks_(callbacks),
      lookPeriod_(std::min({LongestLookPeriod, limits_.times.header / LooksPerTime,
                            limits_.times.body / LooksPerTime, limits_.times.idle / LooksPerTime})),
      tooLong_("The body is longer than " + std::to_string(limits_.body) + " bytes\r\n"),
      full_(limits_.whoServes + ": as many connections are open as may be (" +
            std::to_string(limits_.connections) +
            "): those that have asked nothing are ended for others, or others turned away") {}

void CHttpDaemon::start() {
    // On the event loop, not on a thread of libmicrohttpd's: version 0.9.75 takes a fixed number of ready
    // connections at a time, and with exactly that many ready it waits for one more before it serves any.
    const unsigned flags = MHD_USE_EPOLL | MHD_USE_NO_LISTEN_SOCKET | MHD_ALLOW_SUSPEND_RESUME;
    daemon_ = MHD_start_daemon(flags, 0, nullptr, nullptr, &CHttpDaemon::onRequest, this, //
                               MHD_OPTION_URI_LOG_CALLBACK, callbacks_.target, callbacks_.self,
                               MHD_OPTION_NOTIFY_COMPLETED, &CHttpDaemon::onCompleted, this,
                               MHD_OPTION_NOTIFY_CONNECTION, &CHttpDaemon::onConnection, this,
                               MHD_OPTION_CONNECTION_LIMIT,
                               static_cast<unsigned>(limits_.connections) + Leaving, //
                               MHD_OPTION_CONNECTION_MEMORY_LIMIT, limits_.header, MHD_OPTION_END);
    if (daemon_ == nullptr)
        throw std::runtime_error(limits_.whoServes + ": the HTTP daemon does not start");
    const int events = MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
    loop_.watch(events, EPOLLIN, [this] { run(); });
    loop_.after(lookPeriod_, [this] { endOverdue(); });
}

void CHttpDaemon::stop() {
    if (daemon_ == nullptr)
        return;
    MHD_run(daemon_); // libmicrohttpd must take up resumed connections before it is stopped
    MHD_stop_daemon(daemon_);
    daemon_ = nullptr;
}

void CHttpDaemon::run() {
    MHD_run(daemon_);
    MHD_UNSIGNED_LONG_LONG wait = 0;
    if (runIsDue_ || MHD_get_timeout(daemon_, &wait) != MHD_YES)
        return;
    runIsDue_ = true;
    loop_.after(milliseconds(wait), [this] {
        runIsDue_ = false;
        run();
    });
}

int CHttpDaemon::descriptorOf(MHD_Connection* connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

bool CHttpDaemon::waitsForItsClient(const SConnection& connection) {
    return connection.phase == Phase::Header || connection.phase == Phase::Body;
}

bool CHttpDaemon::hasRoom() {
    if (connections_.size() < limits_.connections)
        return true;
    full_.say();
    const auto first =
        std::min_element(connections_.begin(), connections_.end(), [](const auto& one, const auto& other) {
            const bool waits = waitsForItsClient(one.second);
            return waits == waitsForItsClient(other.second) ? one.second.deadline < other.second.deadline
                                                            : waits;
        });
    if (!waitsForItsClient(first->second))
        return false;
    end(*first);
    run();
    return connections_.size() < limits_.connections;
}

bool CHttpDaemon::add(int fd, const sockaddr_in& peer) {
    EndWhenUnread(fd, limits_.times.unread);
    enter(connections_[fd], Phase::Header, limits_.times.header);
    if (MHD_add_connection(daemon_, fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != MHD_YES) {
        connections_.erase(fd);
        return false;
    }
    run();
    return true;
}

void CHttpDaemon::enter(SConnection& connection, Phase phase, milliseconds longest) {
    const Clock::time_point now = Clock::now();
    connection = {phase, now, now + longest};
}

void CHttpDaemon::end(Connections::value_type& connection) {
    connection.second.phase = Phase::Ended;
    shutdown(connection.first, SHUT_RDWR);
}

// libmicrohttpd notices neither a client that sends part of a request and closes at once, nor how long a
// client takes that sends its request byte by byte.
void CHttpDaemon::endOverdue() {
    const Clock::time_point now = Clock::now();
    for (auto& connection : connections_) {
        const SConnection& state = connection.second;
        // A client may send its request and then close its side, so what it sent is waited for first.
        const bool gone = state.since + lookPeriod_ <= now && PeerHasClosed(connection.first);
        if (waitsForItsClient(state) && (state.deadline <= now || gone))
            end(connection);
    }
    run();
    loop_.after(lookPeriod_, [this] { endOverdue(); });
}

bool CHttpDaemon::answersPileUp(size_t size) const {
    return size > ShortAnswer && unread_ >= limits_.unread;
}

MHD_Result CHttpDaemon::answer(MHD_Connection* connection, const SHttpReply& reply) {
    const MHD_Result queued = SendReply(connection, reply);
    if (queued == MHD_YES) {
        connections_[descriptorOf(connection)].answerSize = reply.body.size();
        unread_ += reply.body.size();
    }
    return queued;
}

bool CHttpDaemon::announcesTooMuch(MHD_Connection* connection) const {
    const char* length =
        MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
    return length != nullptr && ParseNumber<uint64_t>(length).value_or(0) > limits_.body;
}

MHD_Result CHttpDaemon::onRequest(void* self, MHD_Connection* connection, const char* url, const char* method,
                                  const char* version, const char* upload, size_t* uploadSize,
                                  void** context) {
    auto& daemon = *static_cast<CHttpDaemon*>(self);
    if (daemon.loop_.isStopping())
        return MHD_NO;
    const int fd = descriptorOf(connection);
    SConnection& state = daemon.connections_[fd];
    if (state.phase == Phase::Header) {
        daemon.enter(state, Phase::Body, daemon.limits_.times.body);
        if (daemon.announcesTooMuch(connection))
            return SendReply(connection, {MHD_HTTP_CONTENT_TOO_LARGE,
                                          daemon.tooLong_,
                                          {{MHD_HTTP_HEADER_CONTENT_TYPE, "text/plain"}}});
    } else if (state.phase == Phase::Body && *uploadSize == 0) {
        daemon.enter(state, Phase::Answer, {});
    }
    state.bodySize += *uploadSize;
    if (state.bodySize > daemon.limits_.body) {
        // libmicrohttpd takes no answer while a body is arriving, so this one is written past it.
        ::send(fd, BodyIsTooLong.data(), BodyIsTooLong.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        return MHD_NO;
    }
    return daemon.callbacks_.request(daemon.callbacks_.self, connection, url, method, version, upload,
                                     uploadSize, context);
}

void CHttpDaemon::onCompleted(void* self, MHD_Connection* connection, void** context,
                              MHD_RequestTerminationCode reason) {
    auto& daemon = *static_cast<CHttpDaemon*>(self);
    SConnection& state = daemon.connections_[descriptorOf(connection)];
    daemon.unread_ -= std::exchange(state.answerSize, 0);
    if (state.phase != Phase::Ended)
        daemon.enter(state, Phase::Header, daemon.limits_.times.idle);
    daemon.callbacks_.completed(daemon.callbacks_.self, connection, context, reason);
}

void CHttpDaemon::onConnection(void* self, MHD_Connection* connection, void** context,
                               MHD_ConnectionNotificationCode what) {
    auto& daemon = *static_cast<CHttpDaemon*>(self);
    if (daemon.callbacks_.connection != nullptr)
        daemon.callbacks_.connection(daemon.callbacks_.self, connection, context, what);
    if (what == MHD_CONNECTION_NOTIFY_CLOSED)
        daemon.connections_.erase(descriptorOf(connection)); // before it is closed and given out anew
}

} // namespace camsim
