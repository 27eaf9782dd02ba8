#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace conformance {

// A device's web server on the loopback interface, which answers each request with the bytes that `answer`
// gives for it, and closes the connection; with no bytes it says nothing until the server goes.
class CHttpServer {
public:
    using Answer = std::function<std::string(const std::string& request)>;

    explicit CHttpServer(Answer answer);
    ~CHttpServer();
    CHttpServer(const CHttpServer&) = delete;
    CHttpServer& operator=(const CHttpServer&) = delete;

    std::string address() const; // "127.0.0.1:PORT"
    // Head and body of each, in order.
    std::vector<std::string> requests() const;

private:
    void serve();
    void answer(int connection);

    const Answer answer_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> isEnding_{false};
    mutable std::mutex mutex_; // guards what follows
    std::vector<std::string> requests_;
    std::vector<int> silent_;
    std::thread thread_; // the last: it uses all others
};

} // namespace conformance
