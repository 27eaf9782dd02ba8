#include "tools/vornhost/site/site_events.h"

#include "site/base/json_line.h"
#include "site/bounded_work.h"
#include "site/cameras/watched_camera.h"
#include "tools/vornhost/console/output_thread.h"
#include "tools/vornhost/console/signals.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::milliseconds ReaderPatience{500}; // at the end

void WaitForEnd(const CSiteRun& run, std::optional<double> seconds) {
    std::mutex mutex;
    std::condition_variable changed;
    bool isEnded = false;
    const CEndRequest end([&] {
        const std::lock_guard<std::mutex> lock(mutex);
        isEnded = true;
        changed.notify_all();
    });
    std::unique_lock<std::mutex> lock(mutex);
    const auto hasEnded = [&] { return isEnded || run.isEnded(); }; // or before this took the signal
    if (seconds)
        changed.wait_for(lock, std::chrono::duration<double>(*seconds), hasEnded);
    else
        changed.wait(lock, hasEnded);
}

} // namespace

ExitStatus WatchEvents(const CSiteRun& run, std::size_t jobs, std::optional<double> seconds) {
    COutputThread lines;
    site::CWorkPool pool(jobs);
    std::vector<std::unique_ptr<CWatchedCamera>> cameras;
    for (const site::SSiteCamera* const camera : run.cameras())
        cameras.push_back(std::make_unique<CWatchedCamera>(
            *camera, [&run, camera] { return run.sessions().open(*camera); }, pool,
            [&lines](const ordered_json& line) { lines.add(JsonLine(line)); }));
    for (const auto& camera : cameras)
        camera->start();
    WaitForEnd(run, seconds);
    pool.end();
    const bool isComplete =
        std::none_of(cameras.begin(), cameras.end(), [](const auto& camera) { return camera->isDown(); });
    const std::atomic<bool> never{false};
    site::ForEachPlace(cameras.size(), {jobs}, never, [&](std::size_t place) { cameras[place]->end(); });
    lines.finish(ReaderPatience);
    return isComplete ? ExitStatus::Success : ExitStatus::CallFailed;
}

} // namespace corvane::vornhost
