#include "tools/vornhost/doctor/stream_check.h"

#include "host/gst_object.h"
#include "host/stream_controller.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "site/base/terminal_text.h"
#include "site/streams/stream_diagnosis.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/recording/frame_size.h"

#include <cmath>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace corvane::vornhost {
namespace {

using Clock = std::chrono::steady_clock;
using vorn_gst::v1_0::CGstRef;

constexpr double LeastOfRate = 0.6; // a camera that is busy sends fewer pictures than it is set to
constexpr double MostOfInterval = 1.5;

// What has come out of a pad.
struct SSeen {
    long long buffers = 0;
    std::vector<long long> keyFrames; // their places
    GstClockTime first = GST_CLOCK_TIME_NONE;
    GstClockTime last = GST_CLOCK_TIME_NONE;
    Clock::time_point firstCame;
    Clock::time_point lastCame;
    std::string resolution;

    double seconds() const {
        return buffers < 2 || !GST_CLOCK_TIME_IS_VALID(first) || last <= first
                   ? 0
                   : static_cast<double>(last - first) / GST_SECOND;
    }
    double rate() const {
        const double length = seconds();
        return length > 0 ? static_cast<double>(buffers - 1) / length : 0;
    }
};

// Counts what a pad gives into nothing.
class CPadCount {
public:
    // Links a sink behind the pad; false when that cannot be.
    bool link(GstElement* pipeline, GstPad* pad) {
        GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
        if (!sink)
            return false;
        g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
        gst_bin_add(GST_BIN(pipeline), sink);
        const CGstRef<GstPad> in(gst_element_get_static_pad(sink, "sink"));
        gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, comes, this, nullptr);
        return !GST_PAD_LINK_FAILED(gst_pad_link(pad, in.get()));
    }

    void end() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
        changed_.notify_all();
    }

    // Until the condition holds for what has been seen, or the stream has ended, or the time is over; all
    // that has been seen.
    template <class Condition>
    SSeen wait(Clock::time_point limit, Condition condition) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_until(lock, limit, [&] { return isEnded_ || condition(seen_); });
        return seen_;
    }
    bool isEnded() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return isEnded_;
    }

private:
    static GstPadProbeReturn comes(GstPad* pad, GstPadProbeInfo* info, gpointer count) {
        static_cast<CPadCount*>(count)->take(pad, GST_PAD_PROBE_INFO_BUFFER(info));
        return GST_PAD_PROBE_OK;
    }

    void take(GstPad* pad, GstBuffer* buffer) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const Clock::time_point now = Clock::now();
        if (seen_.buffers == 0) {
            seen_.first = GST_BUFFER_PTS(buffer);
            seen_.firstCame = now;
        }
        seen_.last = GST_BUFFER_PTS(buffer);
        seen_.lastCame = now;
        if (!GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT))
            seen_.keyFrames.push_back(seen_.buffers);
        ++seen_.buffers;
        if (seen_.resolution.empty())
            seen_.resolution = FrameSizeOf(pad);
        changed_.notify_all();
    }

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    SSeen seen_;
    bool isEnded_ = false;
};

// A stream of the camera that plays.
class CPlay {
public:
    // Neither plays before start().
    CError open(const refhost::SRtspSource& source, VideoCodec codec) {
        IStreamController* made = nullptr;
        if (CError error = refhost::CreateRtspPipeline(source, codec, nullptr, made))
            return error;
        controller_.reset(made);
        return linked(pictures_.link(made->getPipeline(), made->getSourcePad()));
    }
    CError addSound(const refhost::SRtspSource& source) {
        GstPad* pad = nullptr;
        if (CError error = refhost::AddRtspAudio(*controller_, source, pad))
            return error;
        return linked(sound_.link(controller_->getPipeline(), pad));
    }
    CError start() {
        controller_->setEndObserver([this] {
            pictures_.end();
            sound_.end();
        });
        return controller_->start();
    }
    void stop() { controller_->stop(); }

    CPadCount& pictures() { return pictures_; }
    CPadCount& sound() { return sound_; }

    // Why it has ended by itself; nothing while it plays.
    std::optional<CError> end() {
        const auto end = controller_->waitForEnd(std::chrono::milliseconds::zero());
        if (!end)
            return std::nullopt;
        return end->error ? end->error
                          : CError(RtnCode::NotAccessible, Origin::Device, "the camera ended the stream");
    }
    std::string asked(refhost::RtspPart part) const { return refhost::RtspRequest(*controller_, part); }

private:
    static CError linked(bool isLinked) {
        return isLinked ? CError::Success()
                        : CError(RtnCode::OperationFailed, Origin::General, "GStreamer lacks fakesink");
    }

    CPadCount pictures_; // both outlive the controller, whose threads tell them
    CPadCount sound_;
    std::unique_ptr<IStreamController> controller_;
};

CError NothingWithin(const char* what, std::chrono::milliseconds time) {
    return {RtnCode::NotAccessible, Origin::General,
            std::string(what) + " within " + SecondsText(static_cast<double>(time.count()) / 1000)};
}

// Of a stream that is taken long enough.
SFinding Compare(const SSeen& seen, const SStreamSetting& wish, const std::string& asked) {
    const std::string rate = Decimals(seen.rate(), 1);
    const std::string what = seen.resolution + ", " + rate + " frames a second";
    if (auto wrong = DiagnoseWrongStream({seen.resolution, seen.rate()}, wish, LeastOfRate, asked))
        return Faulty(*wrong);
    if (wish.keyFrameInterval && *wish.keyFrameInterval > 0 && seen.keyFrames.size() > 1) {
        const auto interval = static_cast<double>(seen.keyFrames[1] - seen.keyFrames[0]);
        if (interval > MostOfInterval * *wish.keyFrameInterval ||
            interval * MostOfInterval < *wish.keyFrameInterval)
            return Warned(WrongStream("the key frames have another distance than is set", asked,
                                      "every " + Decimals(interval, 0) + " frames, and the settings say " +
                                          Decimals(*wish.keyFrameInterval, 0)));
    }
    return Sound(what);
}

bool IsEnough(const SSeen& seen, const SStreamTimes& times) {
    return seen.seconds() * 1000 >= static_cast<double>(times.least.count());
}

SDiagnosis Standing(const char* problem, const std::string& answered, const std::string& asked) {
    SDiagnosis diagnosis;
    diagnosis.problem = problem;
    diagnosis.request = asked;
    diagnosis.reply = answered;
    diagnosis.advice = "restart the camera; see what stands between it and here";
    diagnosis.phase = "stream";
    return diagnosis;
}

// The pictures that came first were not followed by others.
SDiagnosis PicturesStand(const SSeen& seen, const std::string& asked) {
    SDiagnosis diagnosis = Standing("the stream stands: it began, and no more pictures come",
                                    std::to_string(seen.buffers) +
                                        (seen.buffers == 1 ? " picture" : " pictures") + ", and none behind",
                                    asked);
    diagnosis.cause = "no-picture";
    return diagnosis;
}

SDiagnosis SoundStands(const SSeen& seen, const std::string& asked) {
    SDiagnosis diagnosis = Standing("the sound stands: it began, and no more comes",
                                    SecondsText(seen.seconds()) + " of sound, and none behind", asked);
    diagnosis.cause = "no-sound";
    return diagnosis;
}

// Takes what a pad gives, until there is enough of it, or it has stood for too long.
SSeen Take(CPadCount& count, const SStreamTimes& times) {
    count.wait(Clock::now() + times.firstData, [](const SSeen& seen) { return seen.buffers > 0; });
    return count.wait(Clock::now() + times.longest, [&times](const SSeen& seen) {
        return seen.buffers == 0 || (IsEnough(seen, times) && seen.buffers > 2);
    });
}

// A busy camera's data may be late, but not for as long as is watched.
bool Stands(const SSeen& seen, const SStreamTimes& times) {
    return !IsEnough(seen, times) && Clock::now() - seen.lastCame > times.least;
}

} // namespace

SFinding CheckStream(const refhost::SRtspSource& source, VideoCodec codec, const SStreamSetting& wish,
                     const SStreamTimes& times) {
    CPlay play;
    CError error = play.open(source, codec);
    if (!error)
        error = play.start();
    if (error)
        return Faulty(DiagnoseStream(error, ""));
    const SSeen seen = Take(play.pictures(), times);
    const std::string asked = play.asked(refhost::RtspPart::Pictures);
    const auto end = play.end();
    play.stop();
    if (end)
        return Faulty(DiagnoseStream(*end, asked));
    if (seen.buffers == 0)
        return Faulty(DiagnoseStream(NothingWithin("no data", times.firstData), asked));
    return Stands(seen, times) ? Faulty(PicturesStand(seen, asked)) : Compare(seen, wish, asked);
}

SFinding CheckAudio(const refhost::SRtspSource& pictures, VideoCodec codec, const refhost::SRtspSource& sound,
                    const SStreamTimes& times) {
    CPlay play;
    CError error = play.open(pictures, codec);
    if (!error)
        error = play.addSound(sound);
    if (!error)
        error = play.start();
    if (error)
        return Faulty(DiagnoseStream(error, ""));
    const SSeen seen = Take(play.sound(), times);
    const std::string asked = play.asked(refhost::RtspPart::Sound);
    const auto end = play.end();
    play.stop();
    SDiagnosis problem;
    if (end || seen.buffers == 0)
        problem = DiagnoseStream(end.value_or(NothingWithin("no sound", times.firstData)), asked);
    else if (Stands(seen, times))
        problem = SoundStands(seen, asked);
    else
        return Sound("sound comes");
    problem.phase = "audio";
    return Faulty(problem);
}

} // namespace corvane::vornhost
