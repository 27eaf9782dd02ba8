#include "refhost/streams/rtsp_media.h"

#include "refhost/streams/g726.h"
#include "refhost/streams/rtsp_pipeline.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace corvane::refhost {
namespace {

using vorn_gst::v1_0::CGstRef;

constexpr int JpegPayload = 26;

struct SVideoMedia {
    VideoCodec codec;
    SRtspMedia media;
};

// MPEG-4's frames do not tell their rate; the description of the stream does. H.264's parameter sets go
// before each key frame, so that a recording can begin at any of them.
constexpr SVideoMedia VideoMedia[] = {
    {VideoCodec::Mjpeg, {"video", {"JPEG"}, "MJPEG", "rtpjpegdepay ! jpegparse"}},
    {VideoCodec::Mpeg4,
     {"video", {"MP4V-ES"}, "MPEG-4", "rtpmp4vdepay ! capssetter name=rate ! mpeg4videoparse"}},
    {VideoCodec::H264, {"video", {"H264"}, "H.264", "rtph264depay ! h264parse config-interval=-1"}},
};

// The codewords stay as they come: the depayloader of GStreamer 1.22 puts those of 24 and 40 kbit/s in a
// wrong order.
constexpr SRtspMedia Audio = {"audio", {"G726-", "AAL2-G726-"}, "G.726", "rtpg726depay force-aal2=true"};

// The encoding's usual name, or the encoding as the camera gives it.
std::string EncodingName(const std::string& encoding) {
    for (const SVideoMedia& row : VideoMedia)
        if (row.media.isOf(encoding))
            return row.media.name;
    return encoding;
}

std::string TextOf(const GstStructure* medium, const char* field) {
    const gchar* const text = gst_structure_get_string(medium, field);
    return text ? text : "";
}

// A payload type of fixed meaning needs no name in the description.
std::string EncodingOf(const GstStructure* medium) {
    int payload = 0;
    const bool isFixedJpeg = gst_structure_get_int(medium, "payload", &payload) && payload == JpegPayload;
    return isFixedJpeg ? "JPEG" : TextOf(medium, "encoding-name");
}

// Gives the frames the rate of the stream's description, where the chain has a place for it.
void TellFrameRate(GstElement* chain, const GstStructure* medium) {
    const CGstRef<GstElement> setter(gst_bin_get_by_name(GST_BIN(chain), "rate"));
    if (!setter)
        return;
    const gchar* const text = gst_structure_get_string(medium, "a-framerate");
    int numerator = 0;
    int denominator = 1;
    gst_util_double_to_fraction(text ? g_ascii_strtod(text, nullptr) : 0, &numerator, &denominator);
    if (numerator <= 0)
        return;
    GstCaps* const rate =
        gst_caps_new_simple("video/mpeg", "framerate", GST_TYPE_FRACTION, numerator, denominator, nullptr);
    g_object_set(setter.get(), "caps", rate, nullptr);
    gst_caps_unref(rate);
}

GstPadProbeReturn PutCodewordsInOrder(GstPad*, GstPadProbeInfo* info, gpointer bits) {
    GstBuffer* const sound = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GST_PAD_PROBE_INFO_DATA(info) = sound;
    GstMapInfo map;
    if (!gst_buffer_map(sound, &map, GST_MAP_READWRITE))
        return GST_PAD_PROBE_DROP;
    PutMostSignificantFirst(map.data, map.size, GPOINTER_TO_UINT(bits));
    gst_buffer_unmap(sound, &map);
    return GST_PAD_PROBE_OK;
}

void OrderCodewords(GstElement* chain, const GstStructure* medium) {
    const unsigned bits = LeastSignificantFirstBits(TextOf(medium, "encoding-name"));
    if (bits == 0)
        return;
    const CGstRef<GstPad> sound(gst_element_get_static_pad(chain, "src"));
    gst_pad_add_probe(sound.get(), GST_PAD_PROBE_TYPE_BUFFER, PutCodewordsInOrder, GUINT_TO_POINTER(bits),
                      nullptr);
}

} // namespace

bool SRtspMedia::isOf(const std::string& encoding) const {
    return std::any_of(encodings.begin(), encodings.end(), [&](const char* own) {
        const std::size_t length = own ? std::strlen(own) : 0;
        return length > 0 &&
               (encoding == own || (own[length - 1] == '-' && encoding.compare(0, length, own) == 0));
    });
}

const SRtspMedia* FindVideoMedia(VideoCodec codec) {
    for (const SVideoMedia& row : VideoMedia)
        if (row.codec == codec)
            return &row.media;
    return nullptr;
}

const SRtspMedia& AudioMedia() {
    return Audio;
}

bool CRtspChoice::takes(GstCaps* medium) {
    const GstStructure* const described = gst_caps_get_structure(medium, 0);
    if (TextOf(described, "media") != wanted_.media)
        return false;
    const std::string encoding = EncodingOf(described);
    if (!wanted_.isOf(encoding))
        otherEncoding_ = encoding;
    return wanted_.isOf(encoding);
}

CError CRtspChoice::refusal() const {
    if (otherEncoding_.empty())
        return {RtnCode::NotSupported, Origin::Device,
                &wanted_ == &Audio ? rtsp_failure::NoAudio : rtsp_failure::NoVideo};
    return {RtnCode::NotSupported, Origin::Device,
            std::string(rtsp_failure::WrongCodec) + ": the camera sends " + EncodingName(otherEncoding_) +
                " where " + wanted_.name + " was asked for"};
}

CError MakeMediaChain(const SRtspMedia& media, CGstRef<GstElement>& chain) {
    GError* error = nullptr;
    GstElement* const made = gst_parse_bin_from_description(media.elements, TRUE, &error);
    if (made)
        chain.reset(GST_ELEMENT(gst_object_ref_sink(made)));
    if (!error)
        return CError::Success();
    CError failure(RtnCode::OperationFailed, Origin::General,
                   device_handler::v1_0::NoElementText + std::string(error->message));
    g_error_free(error);
    return failure;
}

void DescribeToChain(GstElement* chain, GstCaps* medium) {
    const GstStructure* const described = gst_caps_get_structure(medium, 0);
    TellFrameRate(chain, described);
    OrderCodewords(chain, described);
}

} // namespace corvane::refhost
