#include "tools/vornhost/recording.h"

#include "host/gst_object.h"
#include "refhost/rtsp_pipeline.h"

#include <algorithm>
#include <sstream>
#include <system_error>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SStreamEnd;
using vorn_gst::v1_0::CGstRef;

constexpr std::chrono::milliseconds ProgressPeriod(250);
constexpr std::chrono::seconds LongestCompletion(10); // writing the file's index

std::string ResolutionOf(GstPad* pad) {
    GstCaps* const caps = gst_pad_get_current_caps(pad);
    if (!caps)
        return {};
    const GstStructure* const format = gst_caps_get_structure(caps, 0);
    int width = 0;
    int height = 0;
    const bool known =
        gst_structure_get_int(format, "width", &width) && gst_structure_get_int(format, "height", &height);
    gst_caps_unref(caps);
    return known ? std::to_string(width) + "x" + std::to_string(height) : "";
}

std::string SecondsText(std::chrono::milliseconds time) {
    std::ostringstream text; // without the zeros behind the point
    text << static_cast<double>(time.count()) / 1000 << " s";
    return text.str();
}

} // namespace

CRecording::CRecording(device_handler::v1_0::IStreamController& controller, COutputFile& file,
                       SRecordingLimits limits, GstPad* audio)
    : controller_(controller), file_(file), limits_(limits), audio_(audio) {}

CRecording::~CRecording() {
    controller_.stop();
}

CError CRecording::link() {
    GstElement* const muxer = gst_element_factory_make("matroskamux", nullptr);
    GstElement* const sink = gst_element_factory_make("fdsink", nullptr);
    if (!muxer || !sink)
        return {RtnCode::OperationFailed, Origin::General, "GStreamer lacks matroskamux or fdsink"};
    g_object_set(sink, "fd", file_.descriptor(), "sync", FALSE, nullptr);
    gst_bin_add_many(GST_BIN(controller_.getPipeline()), muxer, sink, nullptr);
    if (!gst_element_link(muxer, sink) || !linkInput(controller_.getSourcePad(), muxer, "video_%u") ||
        (audio_ && !linkInput(audio_, muxer, "audio_%u")))
        return {RtnCode::OperationFailed, Origin::General, "a Matroska file cannot hold this stream"};
    gst_pad_add_probe(controller_.getSourcePad(), GST_PAD_PROBE_TYPE_BUFFER, frameComes, this, nullptr);
    if (audio_)
        gst_pad_add_probe(
            audio_,
            static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
            soundComes, this, nullptr);
    controller_.setEndObserver([this] { streamEnded(); });
    return CError::Success();
}

// Of two streams each has a queue without an end: the file waits for one when the other is ahead, and neither
// may hold up the end of the other. The silence that is allowed bounds what they hold.
bool CRecording::linkInput(GstPad* stream, GstElement* muxer, const char* input) {
    const CGstRef<GstPad> place(gst_element_request_pad_simple(muxer, input));
    if (!audio_)
        return !GST_PAD_LINK_FAILED(gst_pad_link(stream, place.get()));
    GstElement* const queue = gst_element_factory_make("queue", nullptr);
    if (!queue)
        return false;
    g_object_set(queue, "max-size-buffers", 0U, "max-size-bytes", 0U, "max-size-time", guint64{0}, nullptr);
    gst_bin_add(GST_BIN(controller_.getPipeline()), queue);
    const CGstRef<GstPad> in(gst_element_get_static_pad(queue, "sink"));
    const CGstRef<GstPad> out(gst_element_get_static_pad(queue, "src"));
    return !GST_PAD_LINK_FAILED(gst_pad_link(stream, in.get())) &&
           !GST_PAD_LINK_FAILED(gst_pad_link(out.get(), place.get()));
}

CError CRecording::run(const Progress& progress) {
    if (CError error = link())
        return error;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        lastCame_ = lastSoundCame_ = Clock::now();
    }
    if (CError error = controller_.start())
        return error;
    CError result = awaitEnd(progress);
    completeFile();
    return result;
}

CError CRecording::awaitEnd(const Progress& progress) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!changed_.wait_for(lock, ProgressPeriod,
                              [this] { return enough_ || ended_ || soundEnded_ || fileError_ != 0; })) {
        if (const auto error = silence())
            return *error;
        const SRecorded now = recordedLocked();
        lock.unlock();
        if (progress)
            progress(now);
        lock.lock();
    }
    if (fileError_ != 0)
        return cannotBeWritten(std::generic_category().message(fileError_));
    if (enough_)
        return CError::Success();
    if (soundEnded_ && !ended_)
        return ofAudio(refhost::rtsp_failure::Closed);
    lock.unlock();
    const auto end = controller_.waitForEnd(std::chrono::milliseconds::zero());
    if (end->cause != SStreamEnd::Cause::Failure)
        return {RtnCode::NotAccessible, Origin::Device, "the camera ended the stream"};
    return end->error.getOrigin() == static_cast<int>(Origin::General) ? cannotBeWritten(end->error.getText())
                                                                       : end->error;
}

std::optional<CError> CRecording::silence() const {
    const auto isSilentSince = [this](Clock::time_point last) {
        return Clock::now() - last >= limits_.silence;
    };
    if (!isSilentSince(lastCame_) && !(audio_ && isSilentSince(lastSoundCame_)))
        return std::nullopt;
    const std::string time = SecondsText(limits_.silence);
    return isSilentSince(lastCame_)
               ? CError(RtnCode::NotAccessible, Origin::General, "no data within " + time)
               : ofAudio("no sound within " + time);
}

CError CRecording::ofAudio(const std::string& failure) {
    return {RtnCode::NotAccessible, Origin::Device, refhost::rtsp_failure::OfAudio + failure};
}

CError CRecording::cannotBeWritten(const std::string& reason) const {
    return {RtnCode::OperationFailed, Origin::General,
            "the file \"" + file_.path() + "\" cannot be written: " + reason};
}

void CRecording::completeFile() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        enough_ = true;
    }
    if (recorded().frames > 0) {
        controller_.finish();
        if (audio_) {
            const CGstRef<GstPad> consumer(gst_pad_get_peer(audio_));
            gst_pad_send_event(consumer.get(), gst_event_new_eos());
        }
        controller_.waitForEnd(LongestCompletion);
    }
    controller_.stop();
}

void CRecording::interrupt() {
    const std::lock_guard<std::mutex> lock(mutex_);
    enough_ = true;
    changed_.notify_all();
}

void CRecording::streamEnded() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

GstPadProbeReturn CRecording::frameComes(GstPad* pad, GstPadProbeInfo* info, gpointer recording) {
    return static_cast<CRecording*>(recording)->takeFrame(pad, GST_PAD_PROBE_INFO_BUFFER(info));
}

GstPadProbeReturn CRecording::takeFrame(GstPad* pad, GstBuffer* frame) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const GstClockTime time = GST_BUFFER_PTS(frame);
    const bool isFirst = frames_ == 0;
    // Players cannot begin with a frame that needs an earlier one.
    if (enough_ || !GST_CLOCK_TIME_IS_VALID(time) ||
        (isFirst && GST_BUFFER_FLAG_IS_SET(frame, GST_BUFFER_FLAG_DELTA_UNIT)))
        return GST_PAD_PROBE_DROP;
    if (isFirst) {
        first_ = last_ = time;
        resolution_ = ResolutionOf(pad);
        fileError_ = file_.begin();
    }
    if (fileError_ != 0 ||
        (limits_.seconds && time >= first_ + static_cast<GstClockTime>(*limits_.seconds * GST_SECOND))) {
        enough_ = fileError_ == 0;
        changed_.notify_all();
        return GST_PAD_PROBE_DROP;
    }
    ++frames_;
    last_ = std::max(last_, time);
    lastCame_ = Clock::now();
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn CRecording::soundComes(GstPad*, GstPadProbeInfo* info, gpointer recording) {
    auto& itself = *static_cast<CRecording*>(recording);
    return info->type & GST_PAD_PROBE_TYPE_BUFFER ? itself.takeSound(GST_PAD_PROBE_INFO_BUFFER(info))
                                                  : itself.takeSoundEvent(GST_PAD_PROBE_INFO_EVENT(info));
}

// Sound begins and ends with the pictures.
GstPadProbeReturn CRecording::takeSound(GstBuffer* sound) {
    const std::lock_guard<std::mutex> lock(mutex_);
    lastSoundCame_ = Clock::now();
    if (enough_ || frames_ == 0 || !GST_BUFFER_PTS_IS_VALID(sound) || GST_BUFFER_PTS(sound) < first_)
        return GST_PAD_PROBE_DROP;
    ++sounds_;
    return GST_PAD_PROBE_OK;
}

// The pictures alone would go on, and the file wait for the sound.
GstPadProbeReturn CRecording::takeSoundEvent(GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_EOS) {
        const std::lock_guard<std::mutex> lock(mutex_);
        soundEnded_ = true;
        changed_.notify_all();
    }
    return GST_PAD_PROBE_OK;
}

SRecorded CRecording::recordedLocked() const {
    SRecorded recorded;
    recorded.frames = frames_;
    recorded.bytes = frames_ == 0 ? 0 : file_.size();
    recorded.resolution = resolution_;
    recorded.sounds = sounds_;
    // The last frame is shown as long as the ones before it on average.
    const double span = static_cast<double>(last_ - first_) / GST_SECOND;
    recorded.seconds =
        frames_ > 1 ? span * static_cast<double>(frames_) / static_cast<double>(frames_ - 1) : 0;
    return recorded;
}

SRecorded CRecording::recorded() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return recordedLocked();
}

} // namespace corvane::vornhost
