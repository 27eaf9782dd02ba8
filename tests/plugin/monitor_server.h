#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane::test_support {

// A camera on loopback that answers each request with a reply that stays open, and that writes and ends what
// the test says, when it says so.
class CMonitorServer {
public:
    enum class Greeting {
        Header,  // the reply's header
        Silence, // nothing at all
        Garbled, // a header, and from the second request on one that begins with the rest of a line
    };

    explicit CMonitorServer(Greeting greeting = Greeting::Header);
    ~CMonitorServer();
    CMonitorServer(const CMonitorServer&) = delete;
    CMonitorServer& operator=(const CMonitorServer&) = delete;

    const std::string& address() const { return address_; } // "127.0.0.1:PORT"

    // Waits until that many requests have come, ended ones included; false when they do not.
    bool waitForRequests(std::size_t count);
    std::size_t requestCount() const;
    std::string lastRequest() const;

    // On each open connection.
    void write(const std::string& text);
    void closeAll(); // the reply ends as it should
    void resetAll(); // the connection breaks

private:
    void acceptConnections();

    const Greeting greeting_;
    int listener_ = -1;
    std::string address_;
    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::vector<int> open_;
    std::size_t requests_ = 0;
    std::string lastRequest_;
    std::thread acceptor_;
};

// An address at which connections neither succeed nor fail: its queue is full.
class CDeafAddress {
public:
    CDeafAddress();
    ~CDeafAddress();
    CDeafAddress(const CDeafAddress&) = delete;
    CDeafAddress& operator=(const CDeafAddress&) = delete;

    const std::string& address() const { return address_; }

private:
    std::vector<int> sockets_;
    std::string address_;
};

} // namespace corvane::test_support
