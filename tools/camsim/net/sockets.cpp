#include "net/sockets.h"

#include "model/numbers.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace camsim {
namespace {

constexpr int backlog = 4096;
constexpr int highestPort = 65535;

[[noreturn]] void fail(const sockaddr_in& address, const char* what) {
    const std::string reason = std::generic_category().message(errno);
    throw SocketError("cannot " + std::string(what) + " " + formatAddress(address) + ": " + reason);
}

/// A socket bound to the address and not yet listening, so that its port can be shared with the next such
/// socket.
int bindSocket(const sockaddr_in& address) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        fail(address, "open a socket for");
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int reason = errno;
        close(fd);
        errno = reason;
        fail(address, "listen on");
    }
    return fd;
}

sockaddr_in boundAddress(int fd) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    return address;
}

} // namespace

sockaddr_in parseAddress(const std::string& text) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    const size_t colon = text.rfind(':');
    const auto port = parseNumber<uint16_t>(colon == text.npos ? "" : text.substr(colon + 1));
    if (!port || inet_pton(AF_INET, text.substr(0, colon).c_str(), &address.sin_addr) != 1)
        throw SocketError("'" + text + "' is no IPv4 address and port such as 127.0.0.1:8080");
    address.sin_port = htons(*port);
    return address;
}

std::string formatAddress(const sockaddr_in& address) {
    char host[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, host, sizeof host);
    return std::string(host) + ":" + std::to_string(ntohs(address.sin_port));
}

sockaddr_in stepAddress(const sockaddr_in& address, uint32_t hosts, uint32_t ports) {
    sockaddr_in next = address;
    next.sin_addr.s_addr = htonl(ntohl(address.sin_addr.s_addr) + hosts);
    const uint32_t port = ntohs(address.sin_port) + ports;
    if (port > highestPort)
        throw SocketError("there is no port " + std::to_string(port) + ": the highest is " +
                          std::to_string(highestPort));
    next.sin_port = htons(static_cast<uint16_t>(port));
    return next;
}

bool acceptAll(int listening, const std::function<void(int fd, const sockaddr_in& peer)>& accepted) {
    for (;;) {
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        const int fd =
            accept4(listening, reinterpret_cast<sockaddr*>(&peer), &length, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd >= 0) {
            const int on = 1;
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            accepted(fd, peer);
        } else if (errno != EINTR && errno != ECONNABORTED) {
            return errno == EAGAIN || errno == EINVAL; // the latter when it has stopped listening
        }
    }
}

bool peerHasClosed(int fd) {
    pollfd state{fd, POLLRDHUP, 0};
    return poll(&state, 1, 0) == 1;
}

void endWhenUnread(int fd, std::chrono::milliseconds longest) {
    const auto milliseconds = static_cast<unsigned>(longest.count());
    setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, sizeof milliseconds);
}

/// The HTTP daemon shuts a connection down in an orderly way before it closes it, however it lingers; taking
/// the socket apart first makes the reset the first thing that the client sees.
void resetSocket(int fd) {
    const linger now{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    (void)connect(fd, &nobody, sizeof nobody);
}

ListeningSocket::ListeningSocket(const sockaddr_in& address) : fd_(bindSocket(address)) {
    address_ = boundAddress(fd_);
    if (address.sin_port == 0) {
        // The system takes back a port of its own choice when the socket stops listening, so the socket that
        // stays is one that asked for that very port.
        const int chosen = fd_;
        try {
            fd_ = bindSocket(address_);
        } catch (...) {
            close(chosen);
            throw;
        }
        close(chosen);
    }
    try {
        listen();
    } catch (...) {
        close(fd_);
        throw;
    }
}

ListeningSocket::~ListeningSocket() {
    if (fd_ >= 0)
        close(fd_);
}

ListeningSocket::ListeningSocket(ListeningSocket&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), address_(other.address_) {}

ListeningSocket& ListeningSocket::operator=(ListeningSocket&& other) noexcept {
    std::swap(fd_, other.fd_);
    std::swap(address_, other.address_);
    return *this;
}

void ListeningSocket::refuse() {
    shutdown(fd_, SHUT_RDWR);
}

void ListeningSocket::listen() {
    if (::listen(fd_, backlog) != 0)
        fail(address_, "listen on");
}

int ListeningSocket::release() {
    return std::exchange(fd_, -1);
}

} // namespace camsim
