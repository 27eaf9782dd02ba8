#include "tools/vornhost/recording/snapshot.h"

#include "refhost/base/time_text.h"
#include "tools/vornhost/recording/frame_size.h"

namespace corvane::vornhost {
namespace {

// What makes one JPEG of a codec's frames. A decoder with more threads would want several frames before it
// gives the first.
const char* ElementsOf(VideoCodec codec) {
    switch (codec) {
    case VideoCodec::H264:
        return "avdec_h264 max-threads=1 output-corrupt=false ! videoconvert ! jpegenc ! ";
    case VideoCodec::Mpeg4:
        return "avdec_mpeg4 max-threads=1 output-corrupt=false ! videoconvert ! jpegenc ! ";
    default:
        return "";
    }
}

} // namespace

CSnapshot::~CSnapshot() {
    controller_.stop();
}

CError CSnapshot::link() {
    GError* failure = nullptr;
    const std::string elements = std::string(ElementsOf(codec_)) + "fakesink name=end sync=false async=false";
    GstElement* const bin = gst_parse_bin_from_description(elements.c_str(), TRUE, &failure);
    if (!bin || failure) {
        const std::string reason = failure ? failure->message : "";
        g_clear_error(&failure);
        return {RtnCode::OperationFailed, Origin::General, device_handler::v1_0::NoElementText + reason};
    }
    gst_bin_add(GST_BIN(controller_.getPipeline()), bin);
    const CGstRef<GstElement> end(gst_bin_get_by_name(GST_BIN(bin), "end"));
    const CGstRef<GstPad> out(gst_element_get_static_pad(end.get(), "sink"));
    const CGstRef<GstPad> in(gst_element_get_static_pad(bin, "sink"));
    gst_pad_add_probe(controller_.getSourcePad(), GST_PAD_PROBE_TYPE_BUFFER, frameComes, this, nullptr);
    gst_pad_add_probe(out.get(), GST_PAD_PROBE_TYPE_BUFFER, pictureComes, this, nullptr);
    controller_.setEndObserver([this] { this->end(); });
    return GST_PAD_LINK_FAILED(gst_pad_link(controller_.getSourcePad(), in.get()))
               ? CError(RtnCode::OperationFailed, Origin::General, "a picture cannot be made of this stream")
               : CError::Success();
}

CError CSnapshot::take(std::chrono::milliseconds silence, std::optional<SPicture>& picture) {
    CError error = link();
    if (!error)
        error = controller_.start();
    if (error)
        return error;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const bool isKnown = changed_.wait_for(lock, silence, [this] { return picture_ || isEnded_; });
        picture = picture_;
        if (!isKnown)
            return {RtnCode::NotAccessible, Origin::General,
                    "no whole picture within " + refhost::TimeText(silence)};
    }
    const auto end = controller_.waitForEnd(std::chrono::milliseconds::zero());
    if (picture || !end)
        return CError::Success();
    return end->cause == SStreamEnd::Cause::Failure
               ? end->error
               : CError(RtnCode::NotAccessible, Origin::Device, "the camera ended the stream");
}

void CSnapshot::interrupt() {
    end();
}

void CSnapshot::end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnded_ = true;
    changed_.notify_all();
}

GstPadProbeReturn CSnapshot::frameComes(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer snapshot) {
    auto& itself = *static_cast<CSnapshot*>(snapshot);
    const bool isKey = !GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_DELTA_UNIT);
    itself.hasBegun_ = itself.hasBegun_ || isKey;
    return itself.hasBegun_ ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
}

GstPadProbeReturn CSnapshot::pictureComes(GstPad* pad, GstPadProbeInfo* info, gpointer snapshot) {
    auto& itself = *static_cast<CSnapshot*>(snapshot);
    GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    SPicture picture{std::string(gst_buffer_get_size(buffer), '\0'), FrameSizeOf(pad)};
    gst_buffer_extract(buffer, 0, picture.jpeg.data(), picture.jpeg.size());
    const std::lock_guard<std::mutex> lock(itself.mutex_);
    if (!itself.picture_)
        itself.picture_ = std::move(picture);
    itself.changed_.notify_all();
    return GST_PAD_PROBE_OK;
}

} // namespace corvane::vornhost
