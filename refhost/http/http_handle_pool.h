#pragma once

#include <curl/curl.h>

#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvane::refhost {

// Whom a handle has talked to, and as whom: what its open connection and its authentication challenge are
// for.
struct SHttpPeer {
    std::string address; // HOST or HOST:PORT
    std::string user;
    std::string password;
    std::string authScheme;

    friend bool operator==(const SHttpPeer& a, const SHttpPeer& b) {
        return a.address == b.address && a.user == b.user && a.password == b.password &&
               a.authScheme == b.authScheme;
    }
};

struct SCurlDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CCurlHandle = std::unique_ptr<CURL, SCurlDeleter>;

// Idle libcurl handles, kept because a handle remembers its connection and the device's challenge. A handle
// that has been taken belongs to one thread until it is given back. Callable from any thread.
class CHttpHandlePool {
public:
    static CHttpHandlePool& instance();

    // A handle that has talked to this very peer, the one used last of several; empty when there is none.
    CCurlHandle take(const SHttpPeer& peer);

    // Keeps the handle. What exceeds the bounds (2 for one device; for all of them 4096, or what takes half
    // of the files that the process may have open) is closed, the handles used longest ago first.
    void giveBack(const SHttpPeer& peer, CCurlHandle handle);

    // The device has ended a kept connection without an answer: it may be one that closes each connection
    // after its reply and does not say so, and a request is lost when it crosses that. The next requests to
    // it, MostCautious of them, go on connections of their own.
    void beCautiousWith(const std::string& address);
    // Asked once for each request: whether its connection may be kept.
    bool mayKeepConnection(const std::string& address);
    static constexpr int MostCautious = 100;

private:
    struct SIdle {
        SHttpPeer peer;
        CCurlHandle handle;
    };
    using IdleList = std::list<SIdle>;

    CHttpHandlePool();
    void remove(IdleList::iterator position, IdleList& removed);

    const std::size_t bound_;
    std::mutex mutex_;                                                           // guards what follows
    IdleList idle_;                                                              // used last first
    std::unordered_map<std::string, std::vector<IdleList::iterator>> byAddress_; // used last at the back
    std::unordered_map<std::string, int> cautious_; // by address: the requests left
};

} // namespace corvane::refhost
