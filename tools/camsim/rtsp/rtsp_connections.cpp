#include "rtsp/rtsp_connections.h"

#include "net/sockets.h"

#include <fcntl.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace camsim {
namespace {

constexpr std::chrono::milliseconds LookPeriod{500};
// Requests and reports on what was received are some kilobytes at most. GStreamer takes some hundred.
constexpr uint64_t MostPerLook = 16 * 1024;

uint64_t BytesReceived(int fd) {
    tcp_info info{};
    socklen_t size = sizeof info;
    getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_bytes_received;
}

} // namespace

void CRtspConnections::start(CEventLoop& loop) {
    loop.after(LookPeriod, [this, &loop] { endFlooding(loop); });
}

CRtspConnections::Place CRtspConnections::add(int fd) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const int second = connections_.size() < most_ ? fcntl(fd, F_DUPFD_CLOEXEC, 0) : -1;
    if (second < 0)
        return nullptr;
    connections_.push_front({second, 0});
    const auto remove = [this, place = connections_.begin()](void*) {
        const std::lock_guard<std::mutex> again(mutex_);
        close(place->fd);
        connections_.erase(place);
    };
    return Place(this, remove);
}

size_t CRtspConnections::size() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return connections_.size();
}

void CRtspConnections::endFlooding(CEventLoop& loop) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (SConnection& connection : connections_) {
            const uint64_t received = BytesReceived(connection.fd);
            if (received - connection.received > MostPerLook)
                ResetSocket(connection.fd); // what it has sent is not read to its end first
            connection.received = received;
        }
    }
    loop.after(LookPeriod, [this, &loop] { endFlooding(loop); });
}

} // namespace camsim
