#include "tests/support/scripted_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace corvane::tests {
namespace {

constexpr std::chrono::seconds Patience{10};
constexpr int ForEver = -1;

int Require(int result, const char* what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

} // namespace

std::string SSentRequest::header(const std::string& name) const {
    const std::string start = "\r\n" + name + ": ";
    const std::size_t at = head.find(start);
    if (at == std::string::npos)
        return {};
    const std::size_t value = at + start.size();
    return head.substr(value, head.find("\r\n", value) - value);
}

std::string HttpReply(int status, const std::string& body, const std::string& headers) {
    return "HTTP/1.1 " + std::to_string(status) + " Told\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

CScriptedServer::CScriptedServer(Script script, bool ipv6) : script_(std::move(script)), ipv6_(ipv6) {
    int stop[2];
    Require(::pipe(stop), "pipe");
    stopReader_ = stop[0];
    stopWriter_ = stop[1];
    listener_ = test_support::ListenOnLoopback(port_, SOMAXCONN, ipv6);
    acceptThread_ = std::thread([this] { acceptConnections(); });
}

CScriptedServer::~CScriptedServer() {
    ::close(stopWriter_);
    acceptThread_.join();
    for (std::thread& thread : connectionThreads_)
        thread.join();
    ::close(listener_);
    ::close(stopReader_);
}

std::vector<SSentRequest> CScriptedServer::requests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

bool CScriptedServer::waitForOpenConnections(int most) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, Patience, [&] { return openConnections_ <= most; });
}

bool CScriptedServer::waitForRequests(std::size_t least) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, Patience, [&] { return requests_.size() >= least; });
}

void CScriptedServer::acceptConnections() {
    for (int connection = 0; waitFor(listener_, POLLIN, ForEver); ++connection) {
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            continue;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            ++openConnections_;
        }
        connectionThreads_.emplace_back([this, socket, connection] { serve(socket, connection); });
    }
}

void CScriptedServer::serve(int socket, int connection) {
    std::string pending;
    SSentRequest request;
    request.connection = connection;
    while (readRequest(socket, pending, request)) {
        std::unique_lock<std::mutex> lock(mutex_);
        requests_.push_back(request);
        changed_.notify_all();
        const SScriptedReply reply = script_(request);
        lock.unlock();
        if (!send(socket, reply) || !finish(socket, reply.end))
            break;
    }
    ::close(socket);
    const std::lock_guard<std::mutex> lock(mutex_);
    --openConnections_;
    changed_.notify_all();
}

bool CScriptedServer::readRequest(int socket, std::string& pending, SSentRequest& request) const {
    const auto readMore = [&] {
        char buffer[4096];
        const ssize_t count = waitFor(socket, POLLIN, ForEver) ? ::recv(socket, buffer, sizeof buffer, 0) : 0;
        if (count > 0)
            pending.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    };
    std::size_t headEnd = std::string::npos;
    while ((headEnd = pending.find("\r\n\r\n")) == std::string::npos)
        if (!readMore())
            return false;
    request.head = pending.substr(0, headEnd + 2);
    pending.erase(0, headEnd + 4);
    const std::size_t targetStart = request.head.find(' ') + 1;
    request.method = request.head.substr(0, targetStart - 1);
    request.target = request.head.substr(targetStart, request.head.find(' ', targetStart) - targetStart);
    const std::string length = request.header("Content-Length");
    const std::size_t bodySize = length.empty() ? 0 : std::stoul(length);
    while (pending.size() < bodySize)
        if (!readMore())
            return false;
    request.body = pending.substr(0, bodySize);
    pending.erase(0, bodySize);
    return true;
}

bool CScriptedServer::send(int socket, const SScriptedReply& reply) const {
    bool isThere = sendBytes(socket, reply.bytes, reply.pauseBetweenBytes);
    while (isThere && reply.withoutEnd)
        isThere = sendBytes(socket, reply.withoutEnd(), reply.pauseBetweenBytes);
    return isThere;
}

bool CScriptedServer::sendBytes(int socket, const std::string& bytes, std::chrono::milliseconds pause) const {
    const bool drips = pause.count() > 0;
    for (std::size_t sent = 0; sent < bytes.size();) {
        const std::size_t piece = drips ? 1 : bytes.size() - sent;
        if (!waitFor(socket, POLLOUT, ForEver))
            return false;
        const ssize_t count = ::send(socket, bytes.data() + sent, piece, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0)
            return false;
        sent += static_cast<std::size_t>(count);
        // The client has nothing to say during a reply: it going away is what ends the pause early.
        if (drips && waitFor(socket, POLLIN, static_cast<int>(pause.count())))
            return false;
    }
    return true;
}

bool CScriptedServer::finish(int socket, SScriptedReply::End end) const {
    if (end == SScriptedReply::Stall)
        waitFor(socket, POLLIN, ForEver);
    if (end == SScriptedReply::Reset) {
        const linger atOnce{1, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    }
    return end == SScriptedReply::KeepOpen;
}

bool CScriptedServer::waitFor(int socket, short events, int milliseconds) const {
    pollfd waited[] = {{socket, events, 0}, {stopReader_, POLLIN, 0}};
    while (::poll(waited, 2, milliseconds) < 0)
        if (errno != EINTR)
            return false;
    return waited[0].revents != 0 && waited[1].revents == 0;
}

} // namespace corvane::tests
