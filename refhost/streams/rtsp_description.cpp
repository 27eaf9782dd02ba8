#include "refhost/streams/rtsp_description.h"

#include "refhost/streams/rtsp_errors.h"
#include "refhost/streams/rtsp_pipeline.h"

#include <gst/sdp/gstsdpmessage.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace corvane::refhost {
namespace {

constexpr guint MostMedia = 16;
constexpr guint MostAttributes = 64; // of one medium
constexpr int VideoClockRate = 90'000;
constexpr int AudioClockRate = 8'000;

// The fields of the caps have the names that GStreamer's elements look for. There are no others: GStreamer
// keeps each name of a field that it meets for ever.
constexpr const char* FormatParameters[] = {"sprop-parameter-sets", "packetization-mode", "profile-level-id",
                                            "config"};
constexpr struct {
    const char* attribute;
    const char* field;
} Attributes[] = {
    {"framerate", "a-framerate"}, {"x-framerate", "x-framerate"}, {"x-dimensions", "x-dimensions"}};
constexpr const char* FrameSizeField = "a-framesize";

struct SMessageFree {
    void operator()(GstSDPMessage* message) const { gst_sdp_message_free(message); }
};
using CMessage = std::unique_ptr<GstSDPMessage, SMessageFree>;

std::string TextOf(const gchar* text) {
    return text ? text : "";
}

std::string Trimmed(const std::string& text) {
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

int NumberOf(const std::string& text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string InCase(std::string text, gchar (*convert)(gchar)) {
    std::transform(text.begin(), text.end(), text.begin(), convert);
    return text;
}

// What comes before the separator, which is taken away with it.
std::string CutOff(std::string& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    std::string part = text.substr(0, end);
    text.erase(0, end + 1);
    return part;
}

// GStreamer takes no other text, and would complain on standard error.
void SetText(GstCaps* caps, const char* field, const std::string& text) {
    if (!text.empty() && g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        gst_caps_set_simple(caps, field, G_TYPE_STRING, text.c_str(), nullptr);
}

// Of an attribute that tells for which payload it is, as in "96 H264/90000"; empty when there is none.
std::string ValueFor(int payload, const GstSDPMedia* medium, const char* attribute) {
    for (guint i = 0; const gchar* const found = gst_sdp_media_get_attribute_val_n(medium, attribute, i);
         ++i) {
        std::string value = Trimmed(found);
        if (CutOff(value, ' ') == std::to_string(payload))
            return Trimmed(value);
    }
    return {};
}

void SetEncoding(GstCaps* caps, const std::string& media, std::string map) {
    SetText(caps, "encoding-name", InCase(Trimmed(CutOff(map, '/')), g_ascii_toupper));
    const int rate = NumberOf(CutOff(map, '/'));
    const int usual = media == "audio" ? AudioClockRate : VideoClockRate;
    gst_caps_set_simple(caps, "clock-rate", G_TYPE_INT, rate > 0 ? rate : usual, nullptr);
    SetText(caps, "encoding-params", Trimmed(map));
}

void SetParameters(GstCaps* caps, std::string parameters) {
    while (!parameters.empty()) {
        std::string value = CutOff(parameters, ';');
        const std::string name = InCase(Trimmed(CutOff(value, '=')), g_ascii_tolower);
        for (const char* const known : FormatParameters)
            if (name == known)
                SetText(caps, known, Trimmed(value));
    }
}

GstCaps* CapsOf(const GstSDPMedia* medium) {
    const std::string media = InCase(TextOf(gst_sdp_media_get_media(medium)), g_ascii_tolower);
    const int payload = NumberOf(TextOf(gst_sdp_media_get_format(medium, 0)));
    GstCaps* const caps = gst_caps_new_simple("application/x-rtp", "payload", G_TYPE_INT, payload, nullptr);
    SetText(caps, "media", media);
    SetEncoding(caps, media, ValueFor(payload, medium, "rtpmap"));
    SetParameters(caps, ValueFor(payload, medium, "fmtp"));
    SetText(caps, FrameSizeField, ValueFor(payload, medium, "framesize"));
    for (const auto& row : Attributes)
        SetText(caps, row.field, TextOf(gst_sdp_media_get_attribute_val(medium, row.attribute)));
    return caps;
}

CMessage Parsed(const std::string& text) {
    GstSDPMessage* made = nullptr;
    gst_sdp_message_new(&made);
    CMessage message(made);
    if (text.empty() || gst_sdp_message_parse_buffer(reinterpret_cast<const guint8*>(text.data()),
                                                     static_cast<guint>(text.size()), made) != GST_SDP_OK)
        throw Unusable(rtsp_failure::NoDescription);
    return message;
}

} // namespace

SRtspDescription ReadRtspDescription(const std::string& text) {
    const CMessage message = Parsed(text);
    const guint count = gst_sdp_message_medias_len(message.get());
    if (count > MostMedia)
        throw Unusable(rtsp_failure::TooLarge);
    SRtspDescription description;
    description.control = TextOf(gst_sdp_message_get_attribute_val(message.get(), "control"));
    for (guint i = 0; i < count; ++i) {
        const GstSDPMedia* const medium = gst_sdp_message_get_media(message.get(), i);
        if (gst_sdp_media_attributes_len(medium) > MostAttributes)
            throw Unusable(rtsp_failure::TooLarge);
        SRtspMedium described;
        described.caps.reset(CapsOf(medium));
        described.control = TextOf(gst_sdp_media_get_attribute_val(medium, "control"));
        description.media.push_back(std::move(described));
    }
    return description;
}

} // namespace corvane::refhost
