#pragma once

#include "model/camera.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace camsim {

/// Which open connection belongs to which camera. Every operation may be called on any thread.
class ConnectionTable {
public:
    /// Tells one use of a descriptor from the next.
    using Token = uint64_t;
    struct Entry {
        Camera* camera;
        Token token;
    };

    Token add(int fd, Camera& camera);
    /// None when the descriptor is not in the table.
    Entry find(int fd) const;
    /// Has no effect when the descriptor has been used anew since the token was given. To be called before
    /// the descriptor is closed.
    void remove(int fd, Token token);

    /// Breaks every connection of the camera but `kept`.
    void breakConnections(const Camera& camera, int kept);

private:
    mutable std::mutex mutex_;
    std::unordered_map<int, Entry> entries_; // guarded by mutex_
    Token last_ = 0;                         // guarded by mutex_
};

} // namespace camsim
