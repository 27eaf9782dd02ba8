#pragma once

#include "model/camera.h"
#include "model/fault_catalogue.h"
#include "model/faults.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace camsim {

// Sets and removes the faults of the catalogue as wholes. Every operation may be called on any thread.
class CNamedFaults {
public:
    // `cameras` and `faults` outlive this object.
    CNamedFaults(const std::vector<std::unique_ptr<CCamera>>& cameras, CFaultList& faults)
        : cameras_(cameras), faults_(faults) {}

    // Sets it at this camera, beside others that have it, or at all; anew where it is set already. Answers
    // the ids of its parts. Throws CFaultError, and leaves it unset there, when there is no such name or no
    // room.
    std::vector<uint64_t> set(const std::string& name, std::optional<size_t> camera = std::nullopt);
    // Wherever it is set. Settings get the values that they had before, but those that were changed
    // meanwhile. False when it is not set.
    bool unset(const std::string& name);
    // Where it was set at this camera, or at all.
    bool unsetAt(const std::string& name, std::optional<size_t> camera);
    void clear();
    // The names that are set, each once, in the order in which they were.
    std::vector<std::string> list() const;

private:
    struct SChange {
        CCamera* camera;
        std::string key;
        std::optional<std::string> before;
        std::optional<std::string> put;
    };
    struct SActive {
        std::string name;
        std::optional<size_t> camera; // absent: all
        std::vector<SChange> changes;
    };

    std::vector<SChange> changeSettings(const SNamedFault& fault, std::optional<size_t> camera) const;
    void restore(const SActive& active) const;
    bool unsetLocked(const std::function<bool(const SActive&)>& goes);

    const std::vector<std::unique_ptr<CCamera>>& cameras_;
    CFaultList& faults_;

    mutable std::mutex mutex_;
    std::vector<SActive> active_; // guarded by mutex_
};

} // namespace camsim
