#include "http/connection_table.h"

#include <sys/socket.h>

namespace camsim {

ConnectionTable::Token ConnectionTable::add(int fd, Camera& camera) {
    const std::lock_guard<std::mutex> lock(mutex_);
    entries_[fd] = {&camera, ++last_};
    ++camera.counters.connections;
    return last_;
}

ConnectionTable::Entry ConnectionTable::find(int fd) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(fd);
    return found == entries_.end() ? Entry{nullptr, 0} : found->second;
}

void ConnectionTable::remove(int fd, Token token) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find(fd);
    if (found == entries_.end() || found->second.token != token)
        return;
    --found->second.camera->counters.connections;
    entries_.erase(found);
}

void ConnectionTable::breakConnections(const Camera& camera, int kept) {
    // Under the lock no descriptor can be closed and used for something else meanwhile.
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [fd, entry] : entries_)
        if (entry.camera == &camera && fd != kept)
            shutdown(fd, SHUT_RDWR);
}

} // namespace camsim
