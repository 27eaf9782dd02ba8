#pragma once

#include "model/camera.h"
#include "net/event_loop.h"

#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

namespace camsim {

// A state file that cannot be read or written; the text names the file and the reason.
class CStateFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Keeps what differs from the factory's state of each camera, by serial number. What the file holds of
// cameras that are not simulated now stays in it.
class CStateFile {
public:
    // Reads the file, where there is one, into the cameras, and watches them for changes. Throws
    // CStateFileError and leaves the file as it is.
    CStateFile(std::string path, const std::vector<std::unique_ptr<CCamera>>& cameras, CEventLoop& loop);

    // Writes what has changed since the last time. Throws CStateFileError. Any thread.
    void save();

private:
    void load();
    void changed();
    void saveAndReport();

    const std::string path_;
    const std::vector<std::unique_ptr<CCamera>>& cameras_;
    CEventLoop& loop_;
    nlohmann::json others_ = nlohmann::json::object(); // cameras of the file that are not simulated now

    std::mutex mutex_;
    bool dirty_ = false; // guarded by mutex_
    bool due_ = false;   // guarded by mutex_; a save is scheduled

    std::mutex writing_; // held while the file is written; taken before mutex_
};

} // namespace camsim
