// Who answers every connection with the same bytes and ends it then, whatever is asked.

#pragma once

#include "tests/support/loopback.h"

#include <sys/socket.h>
#include <unistd.h>

#include <mutex>
#include <string>
#include <thread>

namespace corvane::fuzz {

// Lives as long as the process.
class COneReplyServer {
public:
    COneReplyServer() : listener_(test_support::ListenOnLoopback(port_, SOMAXCONN)) {
        std::thread([this] { serve(); }).detach();
    }

    void answerWith(std::string bytes) {
        const std::lock_guard<std::mutex> lock(mutex_);
        bytes_ = std::move(bytes);
    }
    std::string address() const { return test_support::LoopbackAddress(port_); }

private:
    [[noreturn]] void serve() {
        for (;;) {
            const int socket = ::accept(listener_, nullptr, nullptr);
            const std::string bytes = bytesNow();
            ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            ::shutdown(socket, SHUT_WR);
            char asked[4096]; // or what has been sent would be taken back
            while (::recv(socket, asked, sizeof asked, 0) > 0) {
            }
            ::close(socket);
        }
    }
    std::string bytesNow() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return bytes_;
    }

    int port_ = 0;
    const int listener_;
    std::mutex mutex_;
    std::string bytes_; // guarded by mutex_
};

} // namespace corvane::fuzz
