#pragma once

#include "site/cameras/site_sessions.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/console/status_line.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corvane::vornhost {

// What of a site a verb is about.
struct SSiteOptions {
    std::string file;
    std::vector<std::string> only;
    std::size_t jobs = 64; // cameras at once
};

// Does something with a site's cameras, some of them side by side, and tells what was found: a line a camera
// as it is done and a summary last for programs, a table for people. Ctrl-C ends it after the cameras that
// are under way.
class CSiteRun {
public:
    using Cameras = std::vector<const site::SSiteCamera*>;
    // On one camera, on a thread of its own; what it throws is told as the camera's fault.
    using Work = std::function<void(CSiteCamera& camera, SCameraFinding& finding)>;
    using IsTold = std::function<bool(const SCameraFinding& finding)>;

    // Reads the file. Throws CFailure.
    CSiteRun(const SOptions& options, SSiteOptions siteOptions);

    // Those that are chosen, in the file's order.
    const Cameras& cameras() const { return cameras_; }
    // Without any but these.
    void restrictTo(const std::function<bool(const site::SSiteCamera& camera)>& isMeant);

    // What is found of a camera without a session here; it throws CFailure. False where the look was broken
    // off: what ends this program may have ended others that looked for it.
    using Look = std::function<bool(const site::SSiteCamera& camera, SCameraFinding& finding)>;
    void each(const Look& look);

    // Of the file, whether they are chosen or not.
    const std::set<std::string>& names() const { return names_; }

    // Tells each finding, save those that are not to be told yet, which are returned in the file's order.
    std::vector<SCameraFinding> each(const Cameras& cameras, const Work& work, const IsTold& isTold = {});
    void tell(SCameraFinding finding);
    // What no camera is to blame for.
    void tell(const CFailure& failure) const;
    bool isEnded() const { return isEnded_; }
    const CSiteSessions& sessions() const { return sessions_; }

    // The summary. `tellsAll`: people get a row for every camera in the file's order, and not only for those
    // that need attention. Called last.
    ExitStatus end(bool tellsAll = false);

private:
    SCameraFinding worked(const site::SSiteCamera& camera, const Work& work) const;
    static SCameraFinding looked(const site::SSiteCamera& camera,
                                 const std::function<SCameraFinding(const site::SSiteCamera& camera)>& look);
    void showProgress();
    std::map<std::string, std::size_t> causes() const; // how many cameras have them
    ordered_json summary() const;
    void tellTable(bool tellsAll) const;
    ExitStatus status() const;

    const SSiteOptions siteOptions_;
    const bool isForPrograms_;
    const CSiteSessions sessions_;
    Cameras cameras_; // those that are chosen
    std::set<std::string> names_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::atomic<bool> isEnded_{false};
    const CEndRequest end_{[this] { isEnded_ = true; }};

    std::mutex mutex_;                          // guards what follows
    std::vector<SCameraFinding> findings_;      // that have been told
    std::map<CameraState, std::size_t> looked_; // at how many, told or not
    CStatusLine progress_;
};

} // namespace corvane::vornhost
