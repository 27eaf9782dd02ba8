#pragma once

#include "tests/support/loopback.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane::test_support {

inline constexpr const char* Setdata = "/cgi-bin/setdata";

struct SStubRequest {
    std::string method;
    std::string target; // path and query
    std::string body;
    std::string authorization; // the header's value; empty when there is none
};

// A camera on loopback whose every reply is given, and can be held back until the test lets it go. A reply is
// all its bytes; an empty one closes the connection without an answer, and so ends every reply.
class CStubCamera {
public:
    CStubCamera();
    ~CStubCamera(); // lets everything go that is held back
    CStubCamera(const CStubCamera&) = delete;
    CStubCamera& operator=(const CStubCamera&) = delete;

    const std::string& address() const { return address_; } // "127.0.0.1:PORT"

    // What the requests of a path (without its query) get from now on; 404 until something is given. The
    // second form is told how many requests had come before the one that it answers.
    void reply(const std::string& path, const std::string& bytes);
    void reply(const std::string& path, std::function<std::string(std::size_t)> bytes);
    // Holds back the replies to a path, chosen when they are let go; lets `count` of them go.
    void hold(const std::string& path);
    void letGo(const std::string& path, int count);
    void letGoAll(const std::string& path);
    // Requests without credentials are turned away and not counted from now on; basic authentication.
    void demandCredentials();

    // Waits until that many requests of a path have come; false when they do not.
    bool waitForRequests(const std::string& path, std::size_t count,
                         std::chrono::milliseconds patience = std::chrono::seconds(30));
    std::vector<SStubRequest> requests(const std::string& path = "") const;

private:
    struct SPath {
        std::function<std::string(std::size_t)> reply;
        bool isHeld = false;
        int mayGo = 0;
    };

    void acceptConnections();
    void serve(int connection);
    std::string replyTo(const SStubRequest& request);
    std::size_t countOf(const std::string& path) const;

    int listener_ = -1;
    std::string address_;
    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    bool ending_ = false;
    bool demandsCredentials_ = false;
    std::map<std::string, SPath> paths_;
    std::vector<SStubRequest> requests_;
    std::list<std::thread> connections_; // the accepting thread's until that has ended
    std::thread acceptor_;
};

// Whole replies.
std::string HttpReply(int status, const std::string& body = "");
inline std::string HttpOk(const std::string& body) {
    return HttpReply(200, body);
}

} // namespace corvane::test_support
