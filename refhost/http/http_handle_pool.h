#pragma once

#include <curl/curl.h>

#include <chrono>
#include <condition_variable>
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

class CHttpHandlePool;

// A handle that is one thread's alone. It goes back to its pool when the loan ends, if keep() was called.
class CHttpHandleLoan {
public:
    CHttpHandleLoan(CHttpHandlePool& pool, SHttpPeer peer, CCurlHandle handle);
    ~CHttpHandleLoan();
    CHttpHandleLoan(const CHttpHandleLoan&) = delete;
    CHttpHandleLoan& operator=(const CHttpHandleLoan&) = delete;

    CURL* handle() const { return handle_.get(); }
    // Whether the handle has talked to the peer before.
    bool isUsed() const { return isUsed_; }
    // In place of the handle, one that has not. Throws std::bad_alloc.
    void renew();
    void keep() { isKept_ = true; }

private:
    CHttpHandlePool& pool_;
    const SHttpPeer peer_;
    CCurlHandle handle_;
    bool isUsed_;
    bool isKept_ = false;
};

// Idle libcurl handles, kept because a handle remembers its connection and the device's challenge. Callable
// from any thread.
class CHttpHandlePool {
public:
    // About what a connection and its challenge take on a local network.
    static constexpr std::chrono::milliseconds UsualWait{5};

    static CHttpHandlePool& instance();

    // A handle that has talked to this very peer, the one used last of several, or a fresh one. While others
    // have handles of the device and none is idle, waits for theirs: most requests are over sooner than
    // another connection would be there, and a camera can have few. Throws std::bad_alloc.
    //
    // What is kept beyond the bounds (2 for one device; for all of them 4096, or what takes half of the files
    // that the process may have open) is closed, the handles used longest ago first.
    CHttpHandleLoan take(const SHttpPeer& peer, std::chrono::milliseconds wait = UsualWait);

    // The device has ended a kept connection without an answer: it may be one that closes each connection
    // after its reply and does not say so, and a request is lost when it crosses that. The next requests to
    // it, MostCautious of them, go on connections of their own.
    void beCautiousWith(const std::string& address);
    // Asked once for each request: whether its connection may be kept.
    bool mayKeepConnection(const std::string& address);
    static constexpr int MostCautious = 100;

private:
    friend class CHttpHandleLoan;

    struct SIdle {
        SHttpPeer peer;
        CCurlHandle handle;
    };
    using IdleList = std::list<SIdle>;
    struct SDevice {
        std::vector<IdleList::iterator> idle; // used last at the back
        int taken = 0;
        int waiting = 0;
        std::condition_variable returned; // a handle of the device
    };
    using Devices = std::unordered_map<std::string, SDevice>; // by address

    CHttpHandlePool();
    CCurlHandle takeIdle(SDevice& device, const SHttpPeer& peer);
    void takeBack(const SHttpPeer& peer, CCurlHandle kept);
    void remove(IdleList::iterator position, IdleList& removed);
    void dropUnused(Devices::iterator device);

    const std::size_t bound_;
    std::mutex mutex_;                              // guards what follows
    IdleList idle_;                                 // used last first
    Devices devices_;                               // that have a handle, taken or idle
    std::unordered_map<std::string, int> cautious_; // by address: the requests left
};

} // namespace corvane::refhost
