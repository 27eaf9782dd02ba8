#include "tools/vornhost/recording.h"

#include "host/gst_object.h"

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
                       SRecordingLimits limits)
    : controller_(controller), file_(file), limits_(limits) {}

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
    const CGstRef<GstPad> input(gst_element_request_pad_simple(muxer, "video_%u"));
    if (!gst_element_link(muxer, sink) ||
        GST_PAD_LINK_FAILED(gst_pad_link(controller_.getSourcePad(), input.get())))
        return {RtnCode::OperationFailed, Origin::General, "a Matroska file cannot hold this stream"};
    gst_pad_add_probe(controller_.getSourcePad(), GST_PAD_PROBE_TYPE_BUFFER, frameComes, this, nullptr);
    controller_.setEndObserver([this] { streamEnded(); });
    return CError::Success();
}

CError CRecording::run(const Progress& progress) {
    if (CError error = link())
        return error;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        lastCame_ = Clock::now();
    }
    if (CError error = controller_.start())
        return error;
    CError result = awaitEnd(progress);
    completeFile();
    return result;
}

CError CRecording::awaitEnd(const Progress& progress) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (
        !changed_.wait_for(lock, ProgressPeriod, [this] { return enough_ || ended_ || fileError_ != 0; })) {
        if (Clock::now() - lastCame_ >= limits_.silence)
            return {RtnCode::NotAccessible, Origin::General,
                    "no data within " + SecondsText(limits_.silence)};
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
    lock.unlock();
    const auto end = controller_.waitForEnd(std::chrono::milliseconds::zero());
    if (end->cause != SStreamEnd::Cause::Failure)
        return {RtnCode::NotAccessible, Origin::Device, "the camera ended the stream"};
    return end->error.getOrigin() == static_cast<int>(Origin::General) ? cannotBeWritten(end->error.getText())
                                                                       : end->error;
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

SRecorded CRecording::recordedLocked() const {
    SRecorded recorded;
    recorded.frames = frames_;
    recorded.bytes = frames_ == 0 ? 0 : file_.size();
    recorded.resolution = resolution_;
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
