#include "service/picture_feed.h"

#include "refhost/streams/rtsp_pipeline.h"
#include "site/streams/stream_diagnosis.h"
#include "site/streams/stream_setting.h"

#include <utility>

namespace corvane::service {
namespace {

constexpr std::chrono::seconds LongestStill{10}; // after which a picture is no longer the present one

} // namespace

CPictureFeed::CPictureFeed(std::shared_ptr<CKeptCamera> camera, site::SVideoStreamId id,
                           site::CWorkPool& pool)
    : camera_(std::move(camera)), id_(id), pool_(pool), lastLook_(Clock::now()) {}

CPictureFeed::~CPictureFeed() {
    end();
}

void CPictureFeed::next(std::uint64_t after, std::chrono::milliseconds patience, Done done) {
    SOutcome outcome;
    bool begins = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        lastLook_ = Clock::now();
        const bool isPresent = latest_ && Clock::now() - latestCame_ < LongestStill;
        if (isPresent && latest_->number > after)
            outcome.picture = latest_;
        else if (patience > patience.zero() && !isEnded_)
            waits_.push_back({after, Clock::now() + patience, std::exchange(done, {})});
        begins = state_ == State::Idle && !isEnded_;
        if (begins)
            state_ = State::Starting;
    }
    if (begins)
        pool_.add([self = shared_from_this()] { self->begin(); });
    if (done)
        done(std::move(outcome));
}

void CPictureFeed::begin() {
    const std::lock_guard<std::mutex> stream(stream_);
    const CKeptCamera::Session session = camera_->session();
    if (!session)
        return fail(camera_->whyUnanswered());
    if (const site::CError error = play(session)) {
        const std::string asked =
            controller_ ? refhost::RtspRequest(*controller_, refhost::RtspPart::Pictures) : "";
        const auto problem = DiagnoseLostStream(session->session(), id_, site::DiagnoseStream(error, asked));
        close();
        camera_->picturesAsked(problem);
        return fail(problem);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == State::Starting)
        state_ = State::Running;
}

// REQUIRES: stream_ held.
site::CError CPictureFeed::play(const CKeptCamera::Session& session) {
    session_ = session;
    hasBrought_ = false;
    site::IStreamController* made = nullptr;
    if (site::CError error = session->session().camera().createVideoStreamPipeline(made, id_))
        return error;
    controller_.reset(made);
    controller_->setEndObserver([this] { streamEnded(); });
    pictures_ = std::make_unique<site::CJpegPictures>(
        *controller_, id_.codec, [this](std::string jpeg, GstPad* /*pad*/) { take(std::move(jpeg)); });
    if (site::CError error = pictures_->link())
        return error;
    return controller_->start();
}

void CPictureFeed::take(std::string jpeg) {
    if (!hasBrought_.exchange(true))
        camera_->picturesAsked(std::nullopt);
    const auto now = std::chrono::system_clock::now();
    std::list<SWait> served;
    SLivePicture picture;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        latest_ = SLivePicture{latest_ ? latest_->number + 1 : 1, now,
                               std::make_shared<const std::string>(std::move(jpeg))};
        latestCame_ = Clock::now();
        picture = *latest_;
        for (auto one = waits_.begin(); one != waits_.end();) {
            const auto next = std::next(one);
            if (picture.number > one->after)
                served.splice(served.end(), waits_, one);
            one = next;
        }
    }
    camera_->history()->notePicture(now);
    for (const SWait& one : served)
        one.done({picture, std::nullopt});
}

// On a thread of the stream, which cannot stop it.
void CPictureFeed::streamEnded() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (state_ == State::Ending || isEnded_)
            return;
        state_ = State::Ending;
    }
    pool_.add([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->afterEnd();
    });
}

// A camera ends a stream whose settings change: who looks goes on with the next. One that ends before its
// first picture is a failure.
void CPictureFeed::afterEnd() {
    std::optional<site::SDiagnosis> problem;
    {
        const std::lock_guard<std::mutex> stream(stream_);
        if (!controller_)
            return;
        if (!hasBrought_)
            problem = whyEnded();
        close();
    }
    if (problem) {
        camera_->picturesAsked(problem);
        fail(*problem);
    } else {
        settle();
    }
}

// REQUIRES: stream_ held.
site::SDiagnosis CPictureFeed::whyEnded() const {
    const auto end = controller_->waitForEnd(std::chrono::milliseconds::zero());
    const site::CError error =
        end && end->cause == site::SStreamEnd::Cause::Failure
            ? end->error
            : site::CError(site::RtnCode::NotAccessible, site::Origin::Device, "the camera ended the stream");
    const std::string asked = refhost::RtspRequest(*controller_, refhost::RtspPart::Pictures);
    return DiagnoseLostStream(session_->session(), id_, site::DiagnoseStream(error, asked));
}

// REQUIRES: stream_ held.
void CPictureFeed::close() {
    if (controller_)
        controller_->stop();
    controller_.reset();
    pictures_.reset();
    session_.reset();
}

void CPictureFeed::fail(const site::SDiagnosis& problem) {
    std::list<SWait> waits;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waits.swap(waits_);
        state_ = State::Idle;
    }
    for (const SWait& one : waits)
        one.done({std::nullopt, problem});
}

// The stream has ended; somebody may have looked meanwhile.
void CPictureFeed::settle() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const bool isWanted = !waits_.empty() && !isEnded_;
        state_ = isWanted ? State::Starting : State::Idle;
        if (!isWanted)
            return;
    }
    begin();
}

void CPictureFeed::tick() {
    std::list<SWait> over;
    bool ends = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const Clock::time_point now = Clock::now();
        for (auto one = waits_.begin(); one != waits_.end();) {
            const auto next = std::next(one);
            if (one->until <= now)
                over.splice(over.end(), waits_, one);
            one = next;
        }
        ends = state_ == State::Running && waits_.empty() && now - lastLook_ >= KeptAfterLook;
        if (ends)
            state_ = State::Ending;
    }
    for (const SWait& one : over)
        one.done({});
    if (ends)
        pool_.add([self = shared_from_this()] {
            {
                const std::lock_guard<std::mutex> stream(self->stream_);
                self->close();
            }
            self->settle();
        });
}

void CPictureFeed::end() {
    std::list<SWait> waits;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
        waits.swap(waits_);
    }
    const std::lock_guard<std::mutex> stream(stream_);
    close();
    for (const SWait& one : waits)
        one.done({});
}

bool CPictureFeed::isForgotten() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return state_ == State::Idle && waits_.empty() && Clock::now() - lastLook_ >= KeptAfterLook;
}

} // namespace corvane::service
