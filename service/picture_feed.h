#pragma once

#include "service/camera_history.h"
#include "service/camera_status.h"
#include "service/kept_camera.h"
#include "site/streams/jpeg_pictures.h"
#include "site/work_pool.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace corvane::service {

struct SLivePicture {
    std::uint64_t number = 0; // from 1 at the stream's beginning
    Time time;
    std::shared_ptr<const std::string> jpeg;
};

// The latest picture of one stream of a camera, for all who look; the camera sends the stream once, from the
// first look to some seconds after the last. Callable from any thread.
class CPictureFeed : public std::enable_shared_from_this<CPictureFeed> {
public:
    static constexpr std::chrono::seconds KeptAfterLook{10};

    // What became of a wait: a picture, why there is none, or neither when the time is over.
    struct SOutcome {
        std::optional<SLivePicture> picture;
        std::optional<site::SDiagnosis> problem;
    };
    using Done = std::function<void(SOutcome outcome)>;

    // `camera` and `pool` must outlive it; `session` is kept while the stream runs.
    CPictureFeed(std::shared_ptr<CKeptCamera> camera, site::SVideoStreamId id, site::CWorkPool& pool);
    ~CPictureFeed();
    CPictureFeed(const CPictureFeed&) = delete;
    CPictureFeed& operator=(const CPictureFeed&) = delete;

    // Waits for a picture later than the number, `patience` at most; `done` is called once, on any thread,
    // and must return at once. Begins the stream where it does not run.
    void next(std::uint64_t after, std::chrono::milliseconds patience, Done done);

    // Ends the stream when nobody has looked for long, and the waits whose time is over; called every so
    // often.
    void tick();
    // Ends the stream.
    void end();
    bool isOf(const CKeptCamera& camera) const { return camera_.get() == &camera; }
    // It does not run, and nobody waits.
    bool isForgotten() const;

private:
    using Clock = std::chrono::steady_clock;

    struct SWait {
        std::uint64_t after;
        Clock::time_point until;
        Done done;
    };
    enum class State { Idle, Starting, Running, Ending };

    void begin();
    site::CError play(const CKeptCamera::Session& session);
    void take(std::string jpeg);
    void streamEnded();
    void afterEnd();
    site::SDiagnosis whyEnded() const;
    void close();
    void settle();
    void fail(const site::SDiagnosis& problem);

    const std::shared_ptr<CKeptCamera> camera_;
    const site::SVideoStreamId id_;
    site::CWorkPool& pool_;

    std::mutex stream_;                             // held by a task of the pool; guards the next three
    CKeptCamera::Session session_;                  // goes after the stream
    std::unique_ptr<site::CJpegPictures> pictures_; // goes after the controller
    std::unique_ptr<site::IStreamController> controller_;
    std::atomic<bool> hasBrought_{false}; // a picture of the present stream has come

    mutable std::mutex mutex_; // guards what follows; taken last
    State state_ = State::Idle;
    std::optional<SLivePicture> latest_;
    std::list<SWait> waits_;
    Clock::time_point lastLook_;
    Clock::time_point latestCame_;
    bool isEnded_ = false;
};

} // namespace corvane::service
