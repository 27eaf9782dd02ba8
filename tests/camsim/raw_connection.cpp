#include "raw_connection.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace camsim_test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds Patience{60};
constexpr int MillisecondsBetweenBytes = 20;
constexpr int SmallSegment = 536;

[[noreturn]] void Fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

CRawConnection::CRawConnection(const std::string& address, int receiveBuffer)
    : fd_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (fd_ < 0)
        Fail("socket");
    if (receiveBuffer != 0) {
        setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        // With the large segments of loopback the system would keep megabytes on the other side, too.
        setsockopt(fd_, IPPROTO_TCP, TCP_MAXSEG, &SmallSegment, sizeof SmallSegment);
    }
    sockaddr_in to{};
    to.sin_family = AF_INET;
    const size_t colon = address.rfind(':');
    to.sin_port = htons(static_cast<uint16_t>(std::stoi(address.substr(colon + 1))));
    inet_pton(AF_INET, address.substr(0, colon).c_str(), &to.sin_addr);
    if (connect(fd_, reinterpret_cast<sockaddr*>(&to), sizeof to) != 0)
        Fail("connect");
}

CRawConnection::~CRawConnection() {
    if (fd_ >= 0)
        close(fd_);
}

CRawConnection::CRawConnection(CRawConnection&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

bool CRawConnection::send(const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0)
            return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

void CRawConnection::finishSending() {
    shutdown(fd_, SHUT_WR);
}

std::string CRawConnection::receive(const std::string& text) {
    const Clock::time_point deadline = Clock::now() + Patience;
    std::string received;
    for (char buffer[65536]; text.empty() || received.find(text) == received.npos;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd state{fd_, POLLIN, 0};
        if (left <= 0 || poll(&state, 1, static_cast<int>(left)) != 1)
            throw std::runtime_error("the connection stays open; received: " + received.substr(0, 1000));
        const ssize_t count = recv(fd_, buffer, sizeof buffer, 0);
        if (count <= 0)
            break;
        received.append(buffer, static_cast<size_t>(count));
    }
    return received;
}

std::string CRawConnection::receiveUntilQuiet(std::chrono::milliseconds quiet) {
    const Clock::time_point deadline = Clock::now() + Patience;
    std::string received;
    for (char buffer[65536]; Clock::now() < deadline;) {
        pollfd state{fd_, POLLIN, 0};
        if (poll(&state, 1, static_cast<int>(quiet.count())) != 1)
            return received;
        const ssize_t count = recv(fd_, buffer, sizeof buffer, 0);
        if (count <= 0)
            return received;
        received.append(buffer, static_cast<size_t>(count));
    }
    throw std::runtime_error("the connection does not fall silent");
}

bool CRawConnection::endsWhileSending(const std::string& bytes) {
    const Clock::time_point deadline = Clock::now() + Patience;
    while (Clock::now() < deadline) {
        pollfd state{fd_, POLLRDHUP, 0};
        if (poll(&state, 1, MillisecondsBetweenBytes) == 1 || !send(bytes))
            return true;
    }
    return false;
}

} // namespace camsim_test
