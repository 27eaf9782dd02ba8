#pragma once

#include "service/answer_times.h"
#include "service/camera_history.h"
#include "service/camera_status.h"
#include "service/site_observer.h"
#include "site/cameras/input_watch.h"
#include "site/cameras/site_camera.h"
#include "site/work_pool.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace corvane::service {

struct SKeepingTimes {
    std::chrono::milliseconds answering{120'000}; // between two looks at a camera without a problem
    std::chrono::milliseconds degraded{20'000};
    std::chrono::milliseconds down{30'000};             // sooner where a probe has found it
    std::chrono::milliseconds refused{60'000};          // of credentials that it does not take
    std::chrono::milliseconds unheard{30'000};          // how long an input's first event is waited for
    std::chrono::milliseconds withoutPictures{600'000}; // is told for so long after nobody got any
};

// What the cameras of a site share; outlives them.
struct SKeeping {
    site::CWorkPool& pool;
    site::CWorkPool&
        suspects; // looks at cameras that did not answer last time, so that no other waits for them
    ISiteObserver& observer;
    CAnswerTimes& answerTimes;
    SKeepingTimes times = {};
};

// One camera of the site, kept for as long as the site file has it: asked whether it answers, its inputs
// listened to, its session ready for calls. Callable from any thread.
class CKeptCamera : public std::enable_shared_from_this<CKeptCamera> {
public:
    using Entry = std::shared_ptr<const site::SSiteCamera>;
    // What is done on the camera; the session is the plug-in's, which several threads may ask at once.
    using Session = std::shared_ptr<site::CSiteCamera>;

    // Makes a session of the entry, without traffic. Throws site::CFailure.
    using Open = std::function<std::unique_ptr<site::CSiteCamera>()>;

    using History = std::shared_ptr<CCameraHistory>;

    // Nothing is asked before start(). `history`: of the name, before this entry too.
    CKeptCamera(Entry entry, Open open, SKeeping& keeping, History history);
    CKeptCamera(const CKeptCamera&) = delete;
    CKeptCamera& operator=(const CKeptCamera&) = delete;

    // It is looked at as soon as a probe has told whether it answers.
    void start();
    // No look begins any more, and nothing more is told. A session goes when the last who has it does.
    void end();

    const std::string& name() const { return name_; }
    Entry entry() const;
    // The entry of a file that was read anew, which reaches the camera as before. Whether it wants something
    // else of it.
    bool setEntry(Entry entry);
    SCameraStatus status() const;
    // What is told to who wants something of it while there is no session.
    site::SDiagnosis whyUnanswered() const;
    const History& history() const { return history_; }

    // The camera's session while it answers; null else.
    Session session() const;
    // Held by whoever writes to the camera, from before the first request to after the last.
    std::mutex& writing() { return writing_; }

    // When it was heard last.
    std::chrono::steady_clock::time_point lastHeard() const;
    // A probe has found it answering, or not; it is looked at soon where that is news, and where it does not
    // answer among its like, so that no other waits for it.
    void probed(bool isAnswering);
    // It is looked at soon.
    void lookSoon();
    // Its pictures have come, or not, for whoever looks: a warning while that is news.
    void picturesAsked(const std::optional<site::SDiagnosis>& problem);

    void setDrift(SDrift drift);

private:
    void schedule(std::chrono::milliseconds after);
    void look(std::uint64_t number);
    std::optional<site::SDiagnosis> examine();
    std::optional<site::SDiagnosis> open();
    std::optional<site::SDiagnosis> refusedLately() const;
    std::optional<site::SDiagnosis> askAgain();
    std::optional<site::SDiagnosis> watchInputs();
    std::optional<site::SDiagnosis> whyUnwatched();
    std::optional<site::SDiagnosis> switchedOff() const;
    std::optional<site::SDiagnosis> withoutPictures() const;
    void letGo();
    void noteExchange(const site::SWatchedExchange& exchange);
    void takeEvent(int input, const site::SStreamEvent& event);
    void tellHealth(const std::optional<site::SDiagnosis>& problem);
    void addInput(int input);
    void forgetLevels();
    std::chrono::milliseconds pauseAfter(const std::optional<site::SDiagnosis>& problem) const;

    const std::string name_;
    const Open open_;
    SKeeping& keeping_;
    const History history_;
    std::mutex writing_;

    std::mutex looking_;                            // held by a look; guards the next four; taken first
    Entry watched_;                                 // what the watch refers to
    std::unique_ptr<site::CInputWatch> watch_;      // ends before the session
    std::optional<site::SDiagnosis> refusal_;       // of the credentials, the latest
    std::chrono::steady_clock::time_point refused_; // when that was

    std::mutex telling_; // held while something is told; taken after looking_, before mutex_

    mutable std::mutex mutex_; // guards what follows; taken last
    Entry entry_;
    SCameraStatus status_;
    Session session_;
    std::uint64_t lookNumber_ = 0; // of the look that is due next; an earlier one is left out
    std::chrono::steady_clock::time_point nextLook_;
    std::chrono::steady_clock::time_point lastHeard_;
    bool areSettingsLost_ = false; // of the latest dump
    std::chrono::steady_clock::time_point watchBegin_;
    bool isAnswering_ = false; // as it was found last
    bool isWatchLost_ = false;
    bool isEnded_ = false;
    std::optional<site::SDiagnosis> lostPictures_;       // why they did not come
    std::chrono::steady_clock::time_point picturesLost_; // when that was
};

} // namespace corvane::service
