#include "tests/plugin/monitor_server.h"

#include "tests/support/loopback.h"

#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace corvane::test_support {
namespace {

void SendAll(int connection, const std::string& text) {
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t count = send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return;
        sent += static_cast<std::size_t>(count);
    }
}

std::string ReadHead(int connection) {
    const timeval patience{30, 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::string head;
    char byte = 0;
    while (head.find("\r\n\r\n") == std::string::npos && recv(connection, &byte, 1, 0) == 1)
        head += byte;
    return head;
}

} // namespace

CMonitorServer::CMonitorServer(Greeting greeting) : greeting_(greeting) {
    int port = 0;
    listener_ = ListenOnLoopback(port, SOMAXCONN);
    address_ = LoopbackAddress(port);
    acceptor_ = std::thread([this] { acceptConnections(); });
}

CMonitorServer::~CMonitorServer() {
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    close(listener_);
    closeAll();
}

void CMonitorServer::acceptConnections() {
    for (;;) {
        const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            return;
        const std::string head = ReadHead(connection);
        const std::lock_guard<std::mutex> lock(mutex_);
        const bool isGarbled = greeting_ == Greeting::Garbled && requests_ > 0;
        if (greeting_ != Greeting::Silence)
            SendAll(connection, std::string("HTTP/1.1 200 OK\r\n") + (isGarbled ? " rest: x\r\n" : "") +
                                    "Content-Type: text/plain\r\n\r\n");
        open_.push_back(connection);
        ++requests_;
        lastRequest_ = head;
        changed_.notify_all();
    }
}

bool CMonitorServer::waitForRequests(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return requests_ >= count; });
}

std::size_t CMonitorServer::requestCount() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

std::string CMonitorServer::lastRequest() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lastRequest_;
}

void CMonitorServer::write(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const int connection : open_)
        SendAll(connection, text);
}

void CMonitorServer::closeAll() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const int connection : std::exchange(open_, {}))
        close(connection);
}

void CMonitorServer::resetAll() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const int connection : std::exchange(open_, {})) {
        const linger atOnce{1, 0};
        setsockopt(connection, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        close(connection);
    }
}

CDeafAddress::CDeafAddress() {
    int port = 0;
    const int listener = ListenOnLoopback(port, 0);
    sockets_.push_back(listener);
    address_ = LoopbackAddress(port);
    sockaddr_in target{};
    socklen_t size = sizeof target;
    getsockname(listener, reinterpret_cast<sockaddr*>(&target), &size);
    for (;;) {
        const int caller = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockets_.push_back(caller);
        (void)connect(caller, reinterpret_cast<sockaddr*>(&target), size);
        pollfd answer{caller, POLLOUT, 0};
        if (poll(&answer, 1, 200) == 0)
            return;
    }
}

CDeafAddress::~CDeafAddress() {
    for (const int socket : sockets_)
        close(socket);
}

} // namespace corvane::test_support
