#include "net/port_faults.h"

#include "model/arbitrary_bytes.h"
#include "net/sockets.h"

#include <cerrno>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace camsim {
namespace {

using std::chrono::milliseconds;

// A client that does not close its side when the camera has said its last word is not waited for longer.
constexpr milliseconds LongestFarewell{5000};

std::optional<milliseconds> TimeOf(const SFault& fault) {
    return fault.milliseconds ? std::optional(milliseconds(*fault.milliseconds)) : std::nullopt;
}

// Whether the client has closed its side; what it sends is thrown away.
bool HasEnded(int fd) {
    char bytes[4096];
    ssize_t size = 0;
    do
        size = recv(fd, bytes, sizeof bytes, MSG_DONTWAIT);
    while (size > 0);
    return size == 0 || (errno != EAGAIN && errno != EINTR);
}

} // namespace

CPortFaults::~CPortFaults() {
    for (const auto& [fd, held] : held_)
        close(fd);
}

bool CPortFaults::take(CCamera& camera, int fd) {
    const std::string port = port_;
    const std::optional<SFault> fault =
        faults_.take({FaultProtocol::Port, camera.index(), "", port, port, true, false}).fault;
    if (!fault)
        return false;
    ++camera.counters.faults;
    if (held_.size() < most_)
        hit(*fault, fd);
    else
        close(fd);
    return true;
}

void CPortFaults::hit(const SFault& fault, int fd) {
    switch (fault.kind) {
    case FaultKind::Stall:
        hold(fd, nullptr, TimeOf(fault));
        break;
    case FaultKind::Tls:
        hold(fd, std::make_unique<CTlsHandshake>(fd), LongestFarewell);
        break;
    case FaultKind::Garbage: {
        const std::string bytes = GarbageOf(fault);
        send(fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        hold(fd, nullptr, fault.milliseconds ? TimeOf(fault) : LongestFarewell);
        if (!fault.milliseconds)
            finish(fd);
        break;
    }
    case FaultKind::Reset:
        ResetSocket(fd);
        [[fallthrough]];
    default:
        close(fd);
    }
}

void CPortFaults::hold(int fd, std::unique_ptr<CTlsHandshake> handshake,
                       std::optional<milliseconds> longest) {
    SHeld& held = held_[fd];
    held.handshake = std::move(handshake);
    if (longest)
        held.timer = loop_.after(*longest, [this, fd] { drop(fd); });
    loop_.watch(fd, EPOLLIN | EPOLLRDHUP, [this, fd] { read(fd); });
}

// Closed at once, with something of the client's unread, the connection would be reset, and the client might
// not see what it was sent.
void CPortFaults::finish(int fd) {
    held_[fd].handshake.reset();
    shutdown(fd, SHUT_WR);
}

void CPortFaults::read(int fd) {
    const auto held = held_.find(fd);
    if (held == held_.end())
        return;
    if (held->second.handshake && held->second.handshake->goOn())
        finish(fd);
    if (!held->second.handshake && HasEnded(fd))
        drop(fd);
}

void CPortFaults::drop(int fd) {
    const auto held = held_.find(fd);
    loop_.unwatch(fd);
    if (held->second.timer)
        loop_.cancel(*held->second.timer);
    held_.erase(held);
    close(fd);
}

} // namespace camsim
