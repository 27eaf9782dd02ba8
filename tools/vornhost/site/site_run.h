#pragma once

#include "tools/vornhost/console/status_line.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/site/site_camera.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// What of a site a verb is about.
struct SSiteOptions {
    std::string file;
    std::vector<std::string> only;
    std::size_t jobs = 64; // cameras at once
};

// Does something with each of a site's cameras, some of them side by side, and tells what was found: a line a
// camera as it is done and a summary last for programs, a table for people.
class CSiteRun {
public:
    // On one camera, on a thread of its own; what it throws is told as the camera's fault.
    using Work = std::function<void(CSiteCamera& camera, SCameraFinding& finding)>;

    // Reads the file. Throws CFailure.
    CSiteRun(const SOptions& options, SSiteOptions siteOptions);

    // `tellsAll`: people get a row for every camera in the file's order, and not only for those that need
    // attention. Called once.
    ExitStatus run(const Work& work, bool tellsAll);

private:
    const SRecorder& recorderOf(const site::SSiteCamera& camera) const;
    CCredentials credentialsOf(const site::SSiteCamera& camera) const;
    SCameraFinding look(const site::SSiteCamera& camera, const Work& work) const;
    void take(SCameraFinding finding);
    void showProgress();
    ordered_json summary() const;
    void tellTable(bool tellsAll) const;
    ExitStatus status() const;

    const SOptions options_;
    const SSiteOptions siteOptions_;
    std::vector<site::SSiteCamera> cameras_;            // those that are chosen
    std::map<std::optional<int>, SRecorder> recorders_; // by RTSP port
    std::map<std::string, CCredentials> credentials_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::atomic<bool> isEnded_{false};

    std::mutex mutex_; // guards what follows
    std::vector<SCameraFinding> findings_;
    CStatusLine progress_;
};

} // namespace corvane::vornhost
