#pragma once

#include "tests/support/loopback.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane::tests {

// What a client sent.
struct SSentRequest {
    int connection = 0; // counted from 0 in the order of acceptance
    std::string method;
    std::string target; // path and query
    std::string head;   // request line and header lines
    std::string body;

    // The value of a header line, empty when there is none; `name` as the client writes it.
    std::string header(const std::string& name) const;
};

// What the server does with a request: it sends the bytes, and then goes on as `end` says.
struct SScriptedReply {
    enum End {
        KeepOpen, // waits for the next request
        Close,    // closes the connection
        Reset,    // breaks it off, as a crashing device does
        Stall,    // neither sends nor closes until the client goes away
    };

    std::string bytes;
    End end = KeepOpen;
    std::chrono::milliseconds pauseBetweenBytes{0};
    std::function<std::string()> withoutEnd{}; // what is sent behind the bytes, until the client goes away
};

// A complete reply. `headers` are whole lines, each with its line end.
std::string HttpReply(int status, const std::string& body, const std::string& headers = {});

// An HTTP peer on a loopback address whose every byte the test decides.
class CScriptedServer {
public:
    using Script = std::function<SScriptedReply(const SSentRequest& request)>;

    // Serves from here on. The script is called for one request at a time, on the server's threads.
    explicit CScriptedServer(Script script, bool ipv6 = false);
    // Ends every connection and joins every thread.
    ~CScriptedServer();
    CScriptedServer(const CScriptedServer&) = delete;
    CScriptedServer& operator=(const CScriptedServer&) = delete;

    std::string port() const { return std::to_string(port_); }
    std::string address() const { return (ipv6_ ? "[::1]:" : "127.0.0.1:") + port(); }

    // What has been asked so far, in order.
    std::vector<SSentRequest> requests() const;
    // Waits until no more than this many connections are open; false when that takes more than ten seconds.
    bool waitForOpenConnections(int most) const;
    // Likewise until there have been so many requests.
    bool waitForRequests(std::size_t least) const;

private:
    void acceptConnections();
    void serve(int socket, int connection);
    bool readRequest(int socket, std::string& pending, SSentRequest& request) const;
    bool send(int socket, const SScriptedReply& reply) const;
    bool sendBytes(int socket, const std::string& bytes, std::chrono::milliseconds pause) const;
    bool finish(int socket, SScriptedReply::End end) const;
    // Waits for the socket or for the end of the server; false for the latter, or when time is up.
    bool waitFor(int socket, short events, int milliseconds) const;

    const Script script_;
    const bool ipv6_;
    int listener_ = -1;
    int port_ = 0;
    int stopReader_ = -1; // readable once the server ends
    int stopWriter_ = -1;

    mutable std::mutex mutex_; // guards the three below, and calls of the script
    mutable std::condition_variable changed_;
    std::vector<SSentRequest> requests_;
    int openConnections_ = 0;
    std::list<std::thread> connectionThreads_; // used by the accepting thread, then by the destructor

    std::thread acceptThread_;
};

using test_support::UnusedAddress;

} // namespace corvane::tests
