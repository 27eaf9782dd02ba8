#include "site/streams/jpeg_pictures.h"

namespace corvane::site {
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

CError CJpegPictures::link() {
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
    return GST_PAD_LINK_FAILED(gst_pad_link(controller_.getSourcePad(), in.get()))
               ? CError(RtnCode::OperationFailed, Origin::General, "a picture cannot be made of this stream")
               : CError::Success();
}

GstPadProbeReturn CJpegPictures::frameComes(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer pictures) {
    auto& itself = *static_cast<CJpegPictures*>(pictures);
    const bool isKey = !GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_DELTA_UNIT);
    itself.hasBegun_ = itself.hasBegun_ || isKey;
    return itself.hasBegun_ ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
}

GstPadProbeReturn CJpegPictures::pictureComes(GstPad* pad, GstPadProbeInfo* info, gpointer pictures) {
    GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info);
    std::string jpeg(gst_buffer_get_size(buffer), '\0');
    gst_buffer_extract(buffer, 0, jpeg.data(), jpeg.size());
    static_cast<CJpegPictures*>(pictures)->take_(std::move(jpeg), pad);
    return GST_PAD_PROBE_OK;
}

} // namespace corvane::site
