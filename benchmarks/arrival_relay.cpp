#include "benchmarks/arrival_relay.h"

#include "benchmarks/environment.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corvane::bench {

namespace {

constexpr short Readable = POLLIN;

void SendAtOnce(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// False when there is nothing more to pass on.
bool PassOn(int from, int to) {
    char bytes[65536];
    const ssize_t size = recv(from, bytes, sizeof bytes, 0);
    for (ssize_t sent = 0; sent < size;) {
        const ssize_t part = send(to, bytes + sent, static_cast<std::size_t>(size - sent), MSG_NOSIGNAL);
        if (part <= 0)
            return false;
        sent += part;
    }
    return size > 0;
}

} // namespace

CArrivalRelay::CArrivalRelay(const std::string& camera) : camera_(camera) {
    int stop[2];
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof own;
    if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&own), size) != 0 ||
        listen(listener_, 8) != 0 || getsockname(listener_, reinterpret_cast<sockaddr*>(&own), &size) != 0 ||
        pipe2(stop, O_CLOEXEC) != 0)
        throw CFailure("no socket for the relay");
    stopReader_ = stop[0];
    stopWriter_ = stop[1];
    address_ = "127.0.0.1:" + std::to_string(ntohs(own.sin_port));
    thread_ = std::thread([this] { serve(); });
}

CArrivalRelay::~CArrivalRelay() {
    close(stopWriter_);
    thread_.join();
    close(stopReader_);
    close(listener_);
}

void CArrivalRelay::serve() {
    for (;;) {
        pollfd waiting[] = {{stopReader_, POLLHUP, 0}, {listener_, Readable, 0}};
        poll(waiting, 2, -1);
        if (waiting[0].revents != 0)
            return;
        const int client = accept(listener_, nullptr, nullptr);
        relay(client);
        close(client);
    }
}

void CArrivalRelay::relay(int client) {
    const int camera = connectToCamera();
    SendAtOnce(client);
    SendAtOnce(camera);
    for (bool isOpen = true; isOpen;) {
        pollfd waiting[] = {{stopReader_, POLLHUP, 0}, {client, Readable, 0}, {camera, Readable, 0}};
        poll(waiting, 3, -1);
        if (waiting[0].revents != 0)
            break;
        if (waiting[1].revents != 0) {
            latestArrival_ = Clock::now().time_since_epoch().count();
            isOpen = PassOn(client, camera);
        }
        if (isOpen && waiting[2].revents != 0)
            isOpen = PassOn(camera, client);
    }
    close(camera);
}

int CArrivalRelay::connectToCamera() const {
    const std::size_t colon = camera_.find(':');
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(static_cast<std::uint16_t>(std::stoi(camera_.substr(colon + 1))));
    inet_pton(AF_INET, camera_.substr(0, colon).c_str(), &peer.sin_addr);
    const int camera = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    (void)connect(camera, reinterpret_cast<sockaddr*>(&peer), sizeof peer); // else the next read fails
    return camera;
}

} // namespace corvane::bench
