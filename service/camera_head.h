#pragma once

#include "service/kept_camera.h"
#include "site/work_pool.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace corvane::service {

// Who moves a camera's head.
struct SHeadClient {
    std::string key;  // tells clients of one name apart
    std::string name; // as others are told
};

struct SMovement {
    int pan = 0; // each -100 to 100
    int tilt = 0;
    int zoom = 0;

    bool isNone() const { return pan == 0 && tilt == 0 && zoom == 0; }
    bool operator==(const SMovement& other) const {
        return pan == other.pan && tilt == other.tilt && zoom == other.zoom;
    }
};

// A camera's head, which one client moves at a time and which stands still soon after the last word of who
// moves it. Callable from any thread.
class CCameraHead : public std::enable_shared_from_this<CCameraHead> {
public:
    static constexpr std::chrono::milliseconds Longest{1'000}; // without being renewed

    // `clock` runs what is due on time; its tasks never wait. Those of `calls` may.
    CCameraHead(std::shared_ptr<CKeptCamera> camera, site::CWorkPool& clock, site::CWorkPool& calls)
        : camera_(std::move(camera)), clock_(clock), calls_(calls) {}

    // Starts or renews a movement; the time at which it ends by itself. Nothing when another client has the
    // head, whose name is in `holder`.
    std::optional<Time> move(const SHeadClient& client, const SMovement& movement, std::string& holder);
    // Stops the client's movement; false when another client has the head.
    bool stop(const SHeadClient& client, std::string& holder);
    // Whether the client may use the head.
    bool isFree(const SHeadClient& client, std::string& holder) const;
    // Stops whatever moves, whoever moves it.
    void end();
    // Waits until the camera has answered the last command, or cannot be asked any more.
    void awaitStill(std::chrono::steady_clock::time_point deadline);

private:
    using Clock = std::chrono::steady_clock;

    void send();
    void answered(const SMovement& sent, bool isDone);
    void letGo(CKeptCamera::Session session);
    void expire();

    const std::shared_ptr<CKeptCamera> camera_;
    site::CWorkPool& clock_;
    site::CWorkPool& calls_;

    std::condition_variable changed_;

    mutable std::mutex mutex_;    // guards what follows
    CKeptCamera::Session moving_; // until it stands still: a camera that leaves the site is stopped, too
    std::optional<SHeadClient> holder_;
    Clock::time_point until_;
    SMovement wanted_;
    SMovement sent_;
    bool isUnderWay_ = false; // a command has not been answered
    int stopsLeft_ = 0;       // attempts, of a stop that has failed
};

} // namespace corvane::service
