#include "http_server.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace conformance {
namespace {

// Head and body, as long as the head says that it is; cut where the client went.
std::string Received(int connection) {
    std::string text;
    std::size_t wanted = std::string::npos;
    while (text.size() < wanted) {
        char piece[4096];
        const ssize_t size = recv(connection, piece, sizeof piece, 0);
        if (size <= 0)
            break;
        text.append(piece, static_cast<std::size_t>(size));
        const std::size_t end = text.find("\r\n\r\n");
        if (end == std::string::npos)
            continue;
        const std::size_t length = text.find("Content-Length: ");
        wanted = end + 4 + (length < end ? std::strtoul(text.c_str() + length + 16, nullptr, 10) : 0);
    }
    return text;
}

} // namespace

CHttpServer::CHttpServer(Answer answer)
    : answer_(std::move(answer)), listener_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 16) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        throw std::runtime_error("no port is to be had for the kit's own server");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

CHttpServer::~CHttpServer() {
    isEnding_ = true;
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
    for (const int connection : silent_)
        close(connection);
}

std::string CHttpServer::address() const { return "127.0.0.1:" + std::to_string(port_); }

std::vector<std::string> CHttpServer::requests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void CHttpServer::serve() {
    while (!isEnding_) {
        const int connection = accept(listener_, nullptr, nullptr);
        if (connection >= 0)
            answer(connection);
    }
}

void CHttpServer::answer(int connection) {
    const std::string request = Received(connection);
    const std::string reply = answer_(request);
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(request);
    if (reply.empty()) {
        silent_.push_back(connection);
        return;
    }
    for (std::size_t sent = 0; sent < reply.size();) {
        const ssize_t size = send(connection, reply.data() + sent, reply.size() - sent, MSG_NOSIGNAL);
        if (size <= 0)
            break;
        sent += static_cast<std::size_t>(size);
    }
    close(connection);
}

} // namespace conformance
