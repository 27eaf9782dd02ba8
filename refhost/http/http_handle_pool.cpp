#include "refhost/http/http_handle_pool.h"

#include <sys/resource.h>

#include <algorithm>
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

CHttpHandlePool& CHttpHandlePool::instance() {
    // Never destroyed: threads that nobody joins may still be talking to a device while the process ends.
    static CHttpHandlePool& pool = *new CHttpHandlePool;
    return pool;
}

CHttpHandlePool::CHttpHandlePool() : bound_(IdleBound()) {
    curl_global_init(CURL_GLOBAL_DEFAULT);
}

CCurlHandle CHttpHandlePool::take(const SHttpPeer& peer) {
    IdleList removed;
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = byAddress_.find(peer.address);
    if (found == byAddress_.end())
        return {};
    const auto& idle = found->second;
    const auto match =
        std::find_if(idle.rbegin(), idle.rend(), [&](IdleList::iterator i) { return i->peer == peer; });
    if (match == idle.rend())
        return {};
    remove(*match, removed);
    return std::move(removed.front().handle);
}

void CHttpHandlePool::giveBack(const SHttpPeer& peer, CCurlHandle handle) {
    // Closed after the lock is let go.
    IdleList removed;
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& ofDevice = byAddress_[peer.address];
    ofDevice.reserve(ofDevice.size() + 1); // whatever finds no memory, both know the handle or neither
    idle_.push_front({peer, std::move(handle)});
    ofDevice.push_back(idle_.begin());
    if (ofDevice.size() > MostIdlePerDevice)
        remove(ofDevice.front(), removed);
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
    const auto found = byAddress_.find(position->peer.address);
    auto& ofDevice = found->second;
    ofDevice.erase(std::find(ofDevice.begin(), ofDevice.end(), position));
    if (ofDevice.empty())
        byAddress_.erase(found);
    removed.splice(removed.end(), idle_, position);
}

} // namespace corvane::refhost
