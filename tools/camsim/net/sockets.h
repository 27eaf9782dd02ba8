#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <netinet/in.h>
#include <stdexcept>
#include <string>

namespace camsim {

// An address that cannot be read or be listened on; the text names the address and the reason.
class CSocketError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads "127.0.0.1:8080"; port 0 leaves the choice to the system. Throws CSocketError.
sockaddr_in ParseAddress(const std::string& text);
std::string FormatAddress(const sockaddr_in& address);

// The address `hosts` further on, on the port `ports` further on. Throws CSocketError beyond the last port.
sockaddr_in StepAddress(const sockaddr_in& address, uint32_t hosts, uint32_t ports);

// Accepts every connection that waits. False when one cannot be accepted because the program has no
// descriptor left: it goes on waiting.
bool AcceptAll(int listening, const std::function<void(int fd, const sockaddr_in& peer)>& accepted);

// Whether the peer has closed its side of the connection, or all of it.
bool PeerHasClosed(int fd);

// The system breaks the connection when the peer has taken nothing of what is written to it for so long.
void EndWhenUnread(int fd, std::chrono::milliseconds longest);

// The peer of this connection sees a reset before anything else; whoever has the descriptor still closes it.
void ResetSocket(int fd);

// A socket that listens, and may stop and start again without ever letting go of its port.
class CListeningSocket {
public:
    // Listens at once. Throws CSocketError.
    explicit CListeningSocket(const sockaddr_in& address);
    ~CListeningSocket();
    CListeningSocket(CListeningSocket&& other) noexcept;
    CListeningSocket& operator=(CListeningSocket&& other) noexcept;
    CListeningSocket(const CListeningSocket&) = delete;
    CListeningSocket& operator=(const CListeningSocket&) = delete;

    int fd() const { return fd_; }
    // With the port that the system chose.
    const sockaddr_in& address() const { return address_; }

    // Connections are refused until listen() is called; those that wait to be accepted are reset. Not to be
    // called while they are refused.
    void refuse();
    // Throws CSocketError.
    void listen();

    // Gives the descriptor away; the caller closes it.
    int release();

private:
    int fd_ = -1;
    sockaddr_in address_{};
};

} // namespace camsim
