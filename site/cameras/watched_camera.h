#pragma once

#include "site/cameras/input_watch.h"
#include "site/cameras/site_camera.h"
#include "site/work_pool.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace corvane::site {

struct SWatchTimes {
    std::chrono::milliseconds shortestPause{
        1'000}; // before a lost camera is tried again; doubled each time up
    std::chrono::milliseconds longestPause{30'000};      // to this, each of them a quarter shorter or longer
    std::chrono::milliseconds longestUnanswered{30'000}; // without an event at the beginning
};

// The alarm inputs of one of a site's cameras: each change once, for as long as it lives, over as many
// streams as it takes.
class CWatchedCamera {
public:
    using MakeSession = std::function<std::unique_ptr<CSiteCamera>()>;
    // A line for programs. Called on streams' threads and the pool's; must return at once.
    using Tell = std::function<void(const ordered_json& line)>;

    // `camera` and `pool` must outlive it. Nothing is asked before start().
    CWatchedCamera(const site::SSiteCamera& camera, MakeSession makeSession, site::CWorkPool& pool, Tell tell,
                   SWatchTimes times = {});
    CWatchedCamera(const CWatchedCamera&) = delete;
    CWatchedCamera& operator=(const CWatchedCamera&) = delete;

    void start();
    // Lets go of the camera. The pool has ended.
    void end();
    // Whether its inputs are not watched at the moment, though they should be.
    bool isDown() const;

private:
    void connect();
    std::optional<SDiagnosis> watch();
    void reconnect(int generation);
    void requireEvent(int generation);
    void tryLater(const SDiagnosis& problem);
    void take(int generation, int input, const SStreamEvent& event);
    void lose(int generation);
    void tellState(const char* state, const std::optional<SDiagnosis>& problem) const;

    const site::SSiteCamera& camera_;
    const MakeSession makeSession_;
    site::CWorkPool& pool_;
    const Tell tell_;
    const SWatchTimes times_;

    std::mutex task_; // held by the pool's task that is under way; guards what follows
    std::unique_ptr<CSiteCamera> session_;
    std::unique_ptr<CInputWatch> watch_; // ends before the session
    std::chrono::milliseconds nextPause_;

    mutable std::mutex mutex_; // guards what follows; taken last
    int generation_ = 0;       // of the streams; another one when they are given up
    bool isHeard_ = false;     // an event of the present streams has come
    bool isLost_ = false;      // they have ended
    bool isDown_ = false;      // as was told
    bool isWatched_ = false;
    std::map<int, DryContactState> states_; // as they were told
};

} // namespace corvane::site
