#pragma once

#include "service/camera_head.h"
#include "service/kept_camera.h"
#include "service/picture_feed.h"
#include "service/prober.h"
#include "service/site_observer.h"
#include "site/accepted_values.h"
#include "site/cameras/site_sessions.h"
#include "site/work_pool.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane::service {

struct SSiteTimes {
    SKeepingTimes keeping = {};
    SProberTimes prober = {};
    std::chrono::milliseconds drift{std::chrono::hours(1)}; // between two looks at a camera's drift
};

// A camera of the site with what clients share of it.
struct SKeptOne {
    std::shared_ptr<CKeptCamera> camera;
    std::shared_ptr<CCameraHead> head;
};

// What a look at a camera has found, and the entry that it was held against.
struct SSiteLook {
    CKeptCamera::Entry entry;
    site::SCameraFinding finding; // refers to the entry
};

// The cameras of a site file, kept. Callable from any thread.
class CKeptSite {
public:
    // Reads the file. `observers` must outlive it. Throws site::CFailure.
    CKeptSite(const site::SOptions& options, std::string file, ISiteObserver& observer,
              SSiteTimes times = {});
    ~CKeptSite();
    CKeptSite(const CKeptSite&) = delete;
    CKeptSite& operator=(const CKeptSite&) = delete;

    void start();
    // No camera is looked at any more; what is under way goes on.
    void end();

    // Reads the file again: cameras whose entry is the same go on as they are. Throws site::CFailure, and
    // then all stays.
    void reload();

    const std::string& file() const { return file_; }
    const site::SRecorder& recorder() const { return recorder_; }
    CAnswerTimes& answerTimes() { return answerTimes_; }

    std::optional<SKeptOne> find(const std::string& name) const;
    // In the file's order.
    std::vector<std::shared_ptr<CKeptCamera>> cameras() const;
    std::vector<SCameraStatus> statuses() const;

    // Compares the camera with the file, and tells where that is news. As known: after who has just read its
    // settings.
    enum class Settings { Anew, AsKnown };
    SSiteLook check(const std::shared_ptr<CKeptCamera>& camera, Settings settings = Settings::Anew);
    // Sets it as the file wants it. One at a time for a camera.
    SSiteLook sync(const std::shared_ptr<CKeptCamera>& camera);

    // The latest pictures of a stream; made where nobody has looked yet. Null without such a camera.
    std::shared_ptr<CPictureFeed> feed(const std::string& name, const site::SVideoStreamId& id);
    // Ends what nobody looks at; called several times a second.
    void tick();

    site::CWorkPool& calls() { return calls_; }

private:
    void take(const std::shared_ptr<const site::CSiteSessions>& sessions);
    SKeptOne make(const std::shared_ptr<const site::CSiteSessions>& sessions, const site::SSiteCamera& camera,
                  CKeptCamera::History history);
    bool checkOnce(const std::weak_ptr<CKeptCamera>& camera);
    void letGo(const SKeptOne& one);
    void lookForDrift(const std::weak_ptr<CKeptCamera>& camera);
    std::vector<CProber::STarget> targets() const;
    void keepAccepted();

    const site::SOptions options_;
    const std::string file_;
    const SSiteTimes times_;
    const site::SRecorder recorder_;
    CAnswerTimes answerTimes_;
    site::CAcceptedValues accepted_;
    site::CWorkPool pool_;
    site::CWorkPool suspects_;
    site::CWorkPool calls_;
    site::CWorkPool clock_;
    SKeeping keeping_;

    std::mutex reloading_; // held by a reload, and guards prober_; taken first

    mutable std::mutex mutex_; // guards what follows
    std::shared_ptr<const site::CSiteSessions> sessions_;
    std::vector<std::string> order_; // of the file
    std::map<std::string, SKeptOne> cameras_;
    std::map<std::pair<std::string, site::SVideoStreamId>, std::shared_ptr<CPictureFeed>> feeds_;

    std::unique_ptr<CProber> prober_; // from the start to the end
};

} // namespace corvane::service
