#include "refhost/http/http_handle_pool.h"

#include <sys/resource.h>

#include <algorithm>
#include <new>
#include <utility>

namespace corvane::refhost {
namespace {

constexpr std::size_t MostIdlePerDevice = 2;
constexpr std::size_t MostIdle = 4096;
// The connection, and what libcurl wakes itself up with.
constexpr std::size_t FilesPerHandle = 3;

std::size_t IdleBound() {
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur == RLIM_INFINITY)
        return MostIdle;
    return std::min<std::size_t>(MostIdle, files.rlim_cur / 2 / FilesPerHandle);
}

} // namespace

CHttpHandleLoan::CHttpHandleLoan(CHttpHandlePool& pool, SHttpPeer peer, CCurlHandle handle)
    : pool_(pool), peer_(std::move(peer)), handle_(std::move(handle)), isUsed_(handle_ != nullptr) {}

CHttpHandleLoan::~CHttpHandleLoan() {
    try {
        pool_.takeBack(peer_, isKept_ ? std::move(handle_) : nullptr);
    } catch (const std::bad_alloc&) { // it is closed instead
    }
}

void CHttpHandleLoan::renew() {
    handle_.reset(curl_easy_init());
    if (!handle_)
        throw std::bad_alloc();
    isUsed_ = false;
}

CHttpHandlePool& CHttpHandlePool::instance() {
    // Never destroyed: threads that nobody joins may still be talking to a device while the process ends.
    static CHttpHandlePool& pool = *new CHttpHandlePool;
    return pool;
}

CHttpHandlePool::CHttpHandlePool() : bound_(IdleBound()) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
}

CHttpHandleLoan CHttpHandlePool::take(const SHttpPeer& peer, std::chrono::milliseconds wait) {
    SHttpPeer kept = peer; // before the handle counts as taken: nothing may throw then
    CCurlHandle handle;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        SDevice& device = devices_[peer.address];
        handle = takeIdle(device, peer);
        ++device.waiting;
        const auto isOver = [&] { return (handle = takeIdle(device, peer)) || device.taken == 0; };
        if (!handle)
            device.returned.wait_for(lock, wait, isOver);
        --device.waiting;
        ++device.taken;
    }
    return {*this, std::move(kept), std::move(handle)};
}

// REQUIRES: mutex_ held.
CCurlHandle CHttpHandlePool::takeIdle(SDevice& device, const SHttpPeer& peer) {
    const auto match = std::find_if(device.idle.rbegin(), device.idle.rend(),
                                    [&](IdleList::iterator i) { return i->peer == peer; });
    if (match == device.idle.rend())
        return {};
    CCurlHandle handle = std::move((*match)->handle);
    idle_.erase(*match);
    device.idle.erase(std::next(match).base());
    return handle;
}

void CHttpHandlePool::takeBack(const SHttpPeer& peer, CCurlHandle kept) {
    // Closed after the lock is let go.
    IdleList removed;
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto position = devices_.find(peer.address);
    SDevice& device = position->second;
    --device.taken;
    device.returned.notify_all(); // each waits for a peer of its own
    if (!kept) {
        dropUnused(position);
        return;
    }
    device.idle.reserve(MostIdlePerDevice + 1);
    idle_.push_front({peer, std::move(kept)});
    device.idle.push_back(idle_.begin());
    if (device.idle.size() > MostIdlePerDevice)
        remove(device.idle.front(), removed);
    if (idle_.size() > bound_)
        remove(std::prev(idle_.end()), removed);
}

void CHttpHandlePool::beCautiousWith(const std::string& address) {
    const std::lock_guard<std::mutex> lock(mutex_);
    cautious_[address] = MostCautious;
}

bool CHttpHandlePool::mayKeepConnection(const std::string& address) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = cautious_.find(address);
    if (found == cautious_.end())
        return true;
    if (--found->second == 0)
        cautious_.erase(found);
    return false;
}

// REQUIRES: mutex_ held.
void CHttpHandlePool::remove(IdleList::iterator position, IdleList& removed) {
    const auto device = devices_.find(position->peer.address);
    auto& idle = device->second.idle;
    idle.erase(std::find(idle.begin(), idle.end(), position));
    removed.splice(removed.end(), idle_, position);
    dropUnused(device);
}

// REQUIRES: mutex_ held.
void CHttpHandlePool::dropUnused(Devices::iterator device) {
    const SDevice& one = device->second;
    if (one.idle.empty() && one.taken == 0 && one.waiting == 0)
        devices_.erase(device);
}

} // namespace corvane::refhost
