#pragma once

#include "model/camera.h"

#include <cstdint>
#include <mutex>
#include <unordered_map>

namespace camsim {

// Which open connection belongs to which camera. Every operation may be called on any thread.
class CConnectionTable {
public:
    // Tells one use of a descriptor from the next.
    using Token = uint64_t;
    struct SEntry {
        CCamera* camera;
        Token token;
    };

    Token add(int fd, CCamera& camera);
    // None when the descriptor is not in the table.
    SEntry find(int fd) const;
    // Has no effect when the descriptor has been used anew since the token was given. To be called before
    // the descriptor is closed.
    void remove(int fd, Token token);

    // Breaks every connection of the camera but `kept`.
    void breakConnections(const CCamera& camera, int kept);

private:
    mutable std::mutex mutex_;
    std::unordered_map<int, SEntry> entries_; // guarded by mutex_
    Token last_ = 0;                          // guarded by mutex_
};

} // namespace camsim
