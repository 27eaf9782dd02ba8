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

constexpr int Backlog = 4096;
constexpr int HighestPort = 65535;

[[noreturn]] void Fail(const sockaddr_in& address, const char* what) {
    const std::string reason = std::generic_category().message(errno);
    throw CSocketError("cannot " + std::string(what) + " " + FormatAddress(address) + ": " + reason);
}

// A socket bound to the address and not yet listening, so that its port can be shared with the next such
// socket.
int BindSocket(const sockaddr_in& address) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        Fail(address, "open a socket for");
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const int reason = errno;
        close(fd);
        errno = reason;
        Fail(address, "listen on");
    }
    return fd;
}

sockaddr_in BoundAddress(int fd) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    return address;
}

} // namespace

sockaddr_in ParseAddress(const std::string& text) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    const size_t colon = text.rfind(':');
    const auto port = ParseNumber<uint16_t>(colon == text.npos ? "" : text.substr(colon + 1));
    if (!port || inet_pton(AF_INET, text.substr(0, colon).c_str(), &address.sin_addr) != 1)
        throw CSocketError("'" + text + "' is no IPv4 address and port such as 127.0.0.1:8080");
    address.sin_port = htons(*port);
    return address;
}

std::string FormatAddress(const sockaddr_in& address) {
    char host[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address.sin_addr, host, sizeof host);
    return std::string(host) + ":" + std::to_string(ntohs(address.sin_port));
}

sockaddr_in StepAddress(const sockaddr_in& address, uint32_t hosts, uint32_t ports) {
    sockaddr_in next = address;
    next.sin_addr.s_addr = htonl(ntohl(address.sin_addr.s_addr) + hosts);
    const uint32_t port = ntohs(address.sin_port) + ports;
    if (port > HighestPort)
        throw CSocketError("there is no port " + std::to_string(port) + ": the highest is " +
                           std::to_string(HighestPort));
    next.sin_port = htons(static_cast<uint16_t>(port));
    return next;
}

bool AcceptAll(int listening, const std::function<void(int fd, const sockaddr_in& peer)>& accepted) {
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

bool PeerHasClosed(int fd) {
    pollfd state{fd, POLLRDHUP, 0};
    return poll(&state, 1, 0) == 1;
}

void EndWhenUnread(int fd, std::chrono::milliseconds longest) {
    const auto milliseconds = static_cast<unsigned>(longest.count());
    setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, sizeof milliseconds);
}

// Lingering for 0 s alone is not enough: libmicrohttpd shuts a connection down in an orderly way before it
// closes it. Disconnecting the socket here sends the reset at once, so the client sees that first.
void ResetSocket(int fd) {
    const linger now{1, 0};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    (void)connect(fd, &nobody, sizeof nobody);
}

CListeningSocket::CListeningSocket(const sockaddr_in& address) : fd_(BindSocket(address)) {
    address_ = BoundAddress(fd_);
    if (address.sin_port == 0) {
        // The system takes back a port that it chose itself when the socket stops listening. So the port is
        // asked for by its number with a second socket, which is kept.
        const int chosen = fd_;
        try {
            fd_ = BindSocket(address_);
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

CListeningSocket::~CListeningSocket() {
    if (fd_ >= 0)
        close(fd_);
}

CListeningSocket::CListeningSocket(CListeningSocket&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), address_(other.address_) {}

CListeningSocket& CListeningSocket::operator=(CListeningSocket&& other) noexcept {
    std::swap(fd_, other.fd_);
    std::swap(address_, other.address_);
    return *this;
}

void CListeningSocket::refuse() {
    shutdown(fd_, SHUT_RDWR);
}

void CListeningSocket::listen() {
    if (::listen(fd_, Backlog) != 0)
        Fail(address_, "listen on");
}

int CListeningSocket::release() {
    return std::exchange(fd_, -1);
}

} // namespace camsim
