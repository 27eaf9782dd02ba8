#include "tests/plugin/stub_camera.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace corvane::test_support {
namespace {

std::string PathOf(const std::string& target) {
    return target.substr(0, target.find('?'));
}

// Reads until the text holds `size` bytes, or with 0 its whole head; false when the connection ends before.
bool ReadUntil(int connection, std::string& text, std::size_t size) {
    char bytes[4096];
    while (size ? text.size() < size : text.find("\r\n\r\n") == std::string::npos) {
        const ssize_t count = recv(connection, bytes, sizeof bytes, 0);
        if (count <= 0)
            return false;
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return true;
}

// The value of a header field, "NAME: " given; empty when there is none.
std::string FieldOf(const std::string& head, const std::string& name) {
    const std::size_t at = head.find("\r\n" + name);
    if (at == std::string::npos)
        return {};
    const std::size_t begin = at + 2 + name.size();
    return head.substr(begin, head.find("\r\n", begin) - begin);
}

bool ReadRequest(int connection, SStubRequest& request) {
    std::string text;
    if (!ReadUntil(connection, text, 0))
        return false;
    const std::string head = text.substr(0, text.find("\r\n\r\n") + 4);
    const std::size_t length = std::strtoul(FieldOf(head, "Content-Length: ").c_str(), nullptr, 10);
    if (!ReadUntil(connection, text, head.size() + length))
        return false;
    const std::size_t target = head.find(' ') + 1;
    request.method = head.substr(0, target - 1);
    request.target = head.substr(target, head.find(' ', target) - target);
    request.body = text.substr(head.size());
    request.authorization = FieldOf(head, "Authorization: ");
    return true;
}

} // namespace

CStubCamera::CStubCamera() {
    int port = 0;
    listener_ = ListenOnLoopback(port, SOMAXCONN);
    address_ = LoopbackAddress(port);
    acceptor_ = std::thread([this] { acceptConnections(); });
}

CStubCamera::~CStubCamera() {
    {
        const std::lock_guard<std::mutex> guard(mutex_);
        ending_ = true;
        changed_.notify_all();
    }
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (std::thread& connection : connections_)
        connection.join();
    close(listener_);
}

void CStubCamera::acceptConnections() {
    for (;;) {
        const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            return;
        connections_.emplace_back([this, connection] {
            serve(connection);
            close(connection);
        });
    }
}

void CStubCamera::serve(int connection) {
    SStubRequest request;
    if (!ReadRequest(connection, request))
        return;
    const std::string reply = replyTo(request);
    send(connection, reply.data(), reply.size(), MSG_NOSIGNAL);
    shutdown(connection, SHUT_WR);
    char byte = 0;
    while (recv(connection, &byte, 1, 0) > 0) // so that unread bytes do not reset the connection
        continue;
}

std::string CStubCamera::replyTo(const SStubRequest& request) {
    std::unique_lock<std::mutex> guard(mutex_);
    if (demandsCredentials_ && request.authorization.empty())
        return "HTTP/1.1 401 x\r\nWWW-Authenticate: Basic realm=\"stub\"\r\nConnection: close\r\n"
               "Content-Length: 0\r\n\r\n";
    const std::size_t earlierRequests = requests_.size();
    requests_.push_back(request);
    changed_.notify_all();
    const auto found = paths_.find(PathOf(request.target));
    if (found == paths_.end() || !found->second.reply)
        return HttpReply(404);
    SPath& path = found->second; // map entries stay where they are
    changed_.wait(guard, [&] { return ending_ || !path.isHeld || path.mayGo > 0; });
    if (path.isHeld && !ending_)
        --path.mayGo;
    return path.reply(earlierRequests);
}

void CStubCamera::reply(const std::string& path, const std::string& bytes) {
    reply(path, [bytes](std::size_t) { return bytes; });
}

void CStubCamera::reply(const std::string& path, std::function<std::string(std::size_t)> bytes) {
    const std::lock_guard<std::mutex> guard(mutex_);
    paths_[path].reply = std::move(bytes);
}

void CStubCamera::hold(const std::string& path) {
    const std::lock_guard<std::mutex> guard(mutex_);
    paths_[path].isHeld = true;
}

void CStubCamera::letGo(const std::string& path, int count) {
    const std::lock_guard<std::mutex> guard(mutex_);
    paths_[path].mayGo += count;
    changed_.notify_all();
}

void CStubCamera::letGoAll(const std::string& path) {
    const std::lock_guard<std::mutex> guard(mutex_);
    paths_[path].isHeld = false;
    changed_.notify_all();
}

void CStubCamera::demandCredentials() {
    const std::lock_guard<std::mutex> guard(mutex_);
    demandsCredentials_ = true;
}

bool CStubCamera::waitForRequests(const std::string& path, std::size_t count,
                                  std::chrono::milliseconds patience) {
    std::unique_lock<std::mutex> guard(mutex_);
    return changed_.wait_for(guard, patience, [&] { return countOf(path) >= count; });
}

std::size_t CStubCamera::countOf(const std::string& path) const {
    std::size_t count = 0;
    for (const SStubRequest& request : requests_)
        count += PathOf(request.target) == path;
    return count;
}

std::vector<SStubRequest> CStubCamera::requests(const std::string& path) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    std::vector<SStubRequest> found;
    for (const SStubRequest& request : requests_)
        if (path.empty() || PathOf(request.target) == path)
            found.push_back(request);
    return found;
}

std::string HttpReply(int status, const std::string& body) {
    return "HTTP/1.1 " + std::to_string(status) +
           " x\r\nConnection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

} // namespace corvane::test_support
