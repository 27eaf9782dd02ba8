#include "tools/vornhost/recording/recording.h"

#include "refhost/base/time_text.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/recording/frame_size.h"

#include <algorithm>
#include <system_error>

namespace corvane::vornhost {
namespace {

constexpr std::chrono::milliseconds ProgressPeriod(250);
constexpr std::chrono::seconds LongestCompletion(10); // writing the file's index
// Shorter, because whoever interrupts waits for the program to end.
constexpr std::chrono::milliseconds LongestCompletionWhenInterrupted(700);
// Between two entries of the file's index, which the muxer keeps in memory and writes at the end. However
// long the recording and however many its key frames, the index must not grow without limit: the longer the
// recording, the coarser it is.
constexpr GstClockTime LeastIndexInterval = GST_SECOND;
constexpr GstClockTime IndexIntervals = 10'000; // in the time of the recording
// Bytes of one stream that may wait for the other: some seconds of the largest.
constexpr guint MostWaiting = 32U << 20;
// Of frames with the same time: either they are parts of one frame, or the camera's clock stands.
constexpr gsize MostOfOneTime = gsize{32} << 20;

// What waits in the queue before the pad; nothing where there is none.
guint WaitingBytes(GstPad* out) {
    const CGstRef<GstElement> element(gst_pad_get_parent_element(out));
    constexpr guint BufferCost = 1024; // besides its bytes: it keeps the packet that it came in
    guint bytes = 0;
    guint buffers = 0;
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(element.get()), "current-level-bytes"))
        g_object_get(element.get(), "current-level-bytes", &bytes, "current-level-buffers", &buffers,
                     nullptr);
    return bytes + buffers * BufferCost;
}

} // namespace

CRecording::CRecording(IStreamController& controller, COutputFile& file, SRecordingLimits limits,
                       GstPad* audio)
    : controller_(controller), file_(file), limits_(limits), audio_(audio) {}

CRecording::~CRecording() {
    controller_.stop();
}

CError CRecording::link() {
    GstElement* const muxer = gst_element_factory_make("matroskamux", nullptr);
    GstElement* const sink = gst_element_factory_make("fdsink", nullptr);
    if (!muxer || !sink)
        return {RtnCode::OperationFailed, Origin::General,
                device_handler::v1_0::NoElementText + std::string("matroskamux, fdsink")};
    // The time until the first picture must not become an empty beginning of the file.
    g_object_set(muxer, "offset-to-zero", TRUE, "min-index-interval", LeastIndexInterval, "streamable",
                 file_.isSeekable() ? FALSE : TRUE, nullptr);
    muxer_.reset(GST_ELEMENT(gst_object_ref_sink(muxer)));
    g_object_set(sink, "fd", file_.descriptor(), "sync", FALSE, nullptr);
    gst_bin_add_many(GST_BIN(controller_.getPipeline()), muxer, sink, nullptr);
    if (!gst_element_link(muxer, sink) ||
        !(pictureOut_ = linkInput(controller_.getSourcePad(), muxer, "video_%u")) ||
        (audio_ && !(soundOut_ = linkInput(audio_, muxer, "audio_%u"))))
        return {RtnCode::OperationFailed, Origin::General, "a Matroska file cannot hold this stream"};
    gst_pad_add_probe(controller_.getSourcePad(), GST_PAD_PROBE_TYPE_BUFFER, frameComes, this, nullptr);
    if (audio_)
        observeSound();
    controller_.setEndObserver([this] { streamEnded(); });
    return CError::Success();
}

// A picture may be known later than the sound of its time, so the sound is held back until the first.
void CRecording::observeSound() {
    gst_pad_add_probe(
        audio_, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM),
        soundComes, this, nullptr);
    gst_pad_add_probe(soundOut_.get(), GST_PAD_PROBE_TYPE_BUFFER, soundGoes, this, nullptr);
    const auto block = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BLOCK | GST_PAD_PROBE_TYPE_BUFFER);
    const auto stay = [](GstPad*, GstPadProbeInfo*, gpointer) { return GST_PAD_PROBE_OK; };
    soundBlock_ = gst_pad_add_probe(soundOut_.get(), block, stay, nullptr, nullptr);
}

void CRecording::letSoundGo() {
    if (soundBlock_ != 0)
        gst_pad_remove_probe(soundOut_.get(), soundBlock_);
    soundBlock_ = 0;
}

// The file waits for the stream that is behind. With sound each stream has a queue without a limit, so that
// one that waits holds up neither the other nor its own end; goesOn() and takeSound() bound what waits.
CGstRef<GstPad> CRecording::linkInput(GstPad* stream, GstElement* muxer, const char* input) {
    const CGstRef<GstPad> place(gst_element_request_pad_simple(muxer, input));
    const auto isLinked = [](GstPad* from, GstPad* to) {
        return !GST_PAD_LINK_FAILED(gst_pad_link(from, to));
    };
    if (!audio_)
        return CGstRef<GstPad>(isLinked(stream, place.get()) ? GST_PAD(gst_object_ref(stream)) : nullptr);
    GstElement* const queue = gst_element_factory_make("queue", nullptr);
    if (!queue)
        return nullptr;
    g_object_set(queue, "max-size-buffers", 0U, "max-size-bytes", 0U, "max-size-time", guint64{0}, nullptr);
    gst_bin_add(GST_BIN(controller_.getPipeline()), queue);
    const CGstRef<GstPad> in(gst_element_get_static_pad(queue, "sink"));
    CGstRef<GstPad> out(gst_element_get_static_pad(queue, "src"));
    if (!isLinked(stream, in.get()) || !isLinked(out.get(), place.get()))
        return nullptr;
    return out;
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
    if (failure_)
        return *failure_;
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
    const std::string time = refhost::TimeText(limits_.silence);
    // Where both have stopped, the sound's last packet may have come a little before the last picture.
    const bool pictureStands = Clock::now() - lastCame_ >= limits_.silence / 2;
    return pictureStands ? CError(RtnCode::NotAccessible, Origin::General, "no data within " + time)
                         : ofAudio("no sound within " + time);
}

CError CRecording::ofAudio(const std::string& failure) {
    return {RtnCode::NotAccessible, Origin::Device, refhost::rtsp_failure::OfAudio + failure};
}

CError CRecording::cannotBeWritten(const std::string& reason) const {
    return {RtnCode::OperationFailed, Origin::General, UnwritableText(file_.path(), reason)};
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
        awaitCompletion();
    }
    controller_.stop();
}

void CRecording::awaitCompletion() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, LongestCompletion, [this] { return ended_ || interrupted_; });
    if (interrupted_)
        changed_.wait_for(lock, LongestCompletionWhenInterrupted, [this] { return ended_; });
}

void CRecording::interrupt() {
    const std::lock_guard<std::mutex> lock(mutex_);
    enough_ = interrupted_ = true;
    changed_.notify_all();
}

void CRecording::streamEnded() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

GstPadProbeReturn CRecording::frameComes(GstPad* pad, GstPadProbeInfo* info, gpointer recording) {
    auto& itself = *static_cast<CRecording*>(recording);
    const GstPadProbeReturn result = itself.takeFrame(pad, info);
    if (result == GST_PAD_PROBE_OK) {
        itself.letSoundGo();
        itself.fitIndex();
    }
    return result;
}

void CRecording::fitIndex() {
    GstClockTime span = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        span = last_ - first_;
    }
    g_object_set(muxer_.get(), "min-index-interval", std::max(LeastIndexInterval, span / IndexIntervals),
                 nullptr);
}

GstPadProbeReturn CRecording::takeFrame(GstPad* pad, GstPadProbeInfo* info) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool isFirst = frames_ == 0;
    const GstClockTime time = timeOfFrame(info);
    // Players cannot begin with a frame that needs an earlier one.
    if (enough_ || !GST_CLOCK_TIME_IS_VALID(time) ||
        (isFirst && GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_DELTA_UNIT)))
        return GST_PAD_PROBE_DROP;
    if (isFirst) {
        first_ = last_ = time;
        if (limits_.seconds)
            limit_ = first_ + static_cast<GstClockTime>(*limits_.seconds * GST_SECOND);
        resolution_ = FrameSizeOf(pad);
        fileError_ = file_.begin();
    }
    if (fileError_ != 0 || time >= limit_) {
        enough_ = fileError_ == 0;
        changed_.notify_all();
        return GST_PAD_PROBE_DROP;
    }
    if (!goesOn(time, gst_buffer_get_size(GST_PAD_PROBE_INFO_BUFFER(info))))
        return GST_PAD_PROBE_DROP;
    ++frames_;
    return GST_PAD_PROBE_OK;
}

// A stream whose time stands would never reach the limit.
bool CRecording::goesOn(GstClockTime time, gsize size) {
    if (frames_ == 0 || time > last_) {
        last_ = time;
        lastCame_ = Clock::now();
        standing_ = 0;
    }
    standing_ += size;
    if (standing_ > MostOfOneTime)
        giveUp({RtnCode::OperationFailed, Origin::Device, refhost::rtsp_failure::TooLarge});
    else if (WaitingBytes(pictureOut_.get()) > MostWaiting)
        giveUp(ofAudio("no sound within " + std::to_string(MostWaiting >> 20) + " MiB of pictures"));
    return !failure_;
}

void CRecording::giveUp(const CError& failure) {
    failure_ = failure;
    enough_ = true;
    changed_.notify_all();
}

// Of frames with the same time GStreamer gives it to the first only. The others are needed too: each gets the
// time of the one before.
GstClockTime CRecording::timeOfFrame(GstPadProbeInfo* info) const {
    GstBuffer* frame = GST_PAD_PROBE_INFO_BUFFER(info);
    if (!GST_BUFFER_PTS_IS_VALID(frame) && frames_ > 0) {
        frame = gst_buffer_make_writable(frame);
        GST_BUFFER_PTS(frame) = last_;
        GST_PAD_PROBE_INFO_DATA(info) = frame;
    }
    return GST_BUFFER_PTS(frame);
}

GstPadProbeReturn CRecording::soundComes(GstPad*, GstPadProbeInfo* info, gpointer recording) {
    auto& itself = *static_cast<CRecording*>(recording);
    return info->type & GST_PAD_PROBE_TYPE_BUFFER ? itself.takeSound()
                                                  : itself.takeSoundEvent(GST_PAD_PROBE_INFO_EVENT(info));
}

GstPadProbeReturn CRecording::takeSound() {
    const std::lock_guard<std::mutex> lock(mutex_);
    lastSoundCame_ = Clock::now();
    if (WaitingBytes(soundOut_.get()) > MostWaiting)
        giveUp(ofAudio(refhost::rtsp_failure::TooLarge));
    return enough_ ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

GstPadProbeReturn CRecording::soundGoes(GstPad*, GstPadProbeInfo* info, gpointer recording) {
    return static_cast<CRecording*>(recording)->recordSound(GST_PAD_PROBE_INFO_BUFFER(info));
}

// Sound begins and ends with the pictures.
GstPadProbeReturn CRecording::recordSound(GstBuffer* sound) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const GstClockTime time = GST_BUFFER_PTS(sound);
    if (!GST_CLOCK_TIME_IS_VALID(time) || time < first_ || time >= limit_)
        return GST_PAD_PROBE_DROP;
    ++sounds_;
    return GST_PAD_PROBE_OK;
}

// Without this the recording would go on, and the file wait for sound that never comes.
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
