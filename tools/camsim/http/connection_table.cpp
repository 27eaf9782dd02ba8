#include "http/connection_table.h"

#include <sys/socket.h>

namespace camsim {

CConnectionTable::Token CConnectionTable::add(int fd, CCamera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_[fd] = {&camera, ++last_};
    ++camera.counters.connections;
    return last_;
}

CConnectionTable::SEntry CConnectionTable::find(int fd) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(fd);
    return found == entries_.end() ? SEntry{nullptr, 0} : found->second;
}

void CConnectionTable::remove(int fd, Token token) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(fd);
    if (found == entries_.end() || found->second.token != token)
        return;
    --found->second.camera->counters.connections;
    entries_.erase(found);
}

void CConnectionTable::breakConnections(const CCamera& camera, int kept) {
    // Under the lock no descriptor can be closed and used for something else meanwhile.
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [fd, entry] : entries_)
        if (entry.camera == &camera && fd != kept)
            shutdown(fd, SHUT_RDWR);
}

} // namespace camsim
