#include "rtsp/media_faults.h"

#include <chrono>
#include <memory>
#include <string>

namespace camsim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* FaultKey = "camsim-fault";
constexpr int KilobitsOfAnotherCodec = 1024;
constexpr int JpegPercentOfAnotherCodec = 80;

// Of one pad: when the first data went out.
struct SSilence {
    const std::chrono::milliseconds after;
    std::optional<Clock::time_point> began;
};

GstPadProbeReturn DropData(GstPad*, GstPadProbeInfo*, gpointer data) {
    auto& silence = *static_cast<SSilence*>(data); // used by the pad's streaming thread alone
    if (!silence.began)
        silence.began = Clock::now();
    return Clock::now() - *silence.began >= silence.after ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

void DropDataOf(GstElement* element, const std::string& padName, const SFault& fault) {
    GstPad* pad = gst_element_get_static_pad(element, padName.c_str());
    if (pad == nullptr)
        return;
    auto* silence = new SSilence{std::chrono::milliseconds(fault.milliseconds.value_or(0)), {}};
    gst_pad_add_probe(
        pad, static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_BUFFER_LIST),
        DropData, silence, [](gpointer old) { delete static_cast<SSilence*>(old); });
    gst_object_unref(pad);
}

bool IsAudio(GstRTSPMedia* media, guint number) {
    GstCaps* caps = gst_rtsp_stream_get_caps(gst_rtsp_media_get_stream(media, number));
    if (caps == nullptr)
        return false;
    const gchar* kind = gst_structure_get_string(gst_caps_get_structure(caps, 0), "media");
    const bool audio = g_strcmp0(kind, "audio") == 0;
    gst_caps_unref(caps);
    return audio;
}

// There is no silence of the picture alone: without its data the pipeline does not let the sound out either.
bool Silences(const SFault& fault, GstRTSPMedia* media, guint number) {
    return !fault.media || IsAudio(media, number);
}

// The pipeline must have data to be prepared; what is dropped is what leaves the RTP session after that. The
// pads are still blocked, and the first data meets this probe when they no longer are.
void SilencePrepared(GstRTSPMedia* media, gpointer data) {
    const SFault& fault = *static_cast<const SFault*>(data);
    GstElement* bin = gst_rtsp_media_get_element(media);
    GstObject* pipeline = gst_object_get_parent(GST_OBJECT(bin));
    GValue item = G_VALUE_INIT;
    GstIterator* elements = gst_bin_iterate_elements(GST_BIN(pipeline));
    while (gst_iterator_next(elements, &item) == GST_ITERATOR_OK) {
        auto* element = GST_ELEMENT(g_value_get_object(&item));
        for (guint number = 0; number < gst_rtsp_media_n_streams(media); ++number)
            if (Silences(fault, media, number))
                DropDataOf(element, "send_rtp_src_" + std::to_string(number), fault);
        g_value_reset(&item);
    }
    g_value_unset(&item);
    gst_iterator_free(elements);
    gst_object_unref(pipeline);
    gst_object_unref(bin);
}

} // namespace

void SetMediaFault(GstRTSPClient* client, const std::optional<SFault>& fault) {
    g_object_set_data_full(G_OBJECT(client), FaultKey, fault ? new SFault(*fault) : nullptr,
                           [](gpointer old) { delete static_cast<SFault*>(old); });
}

const SFault* MediaFault() {
    const GstRTSPContext* context = gst_rtsp_context_get_current();
    if (context == nullptr || context->client == nullptr)
        return nullptr;
    return static_cast<const SFault*>(g_object_get_data(G_OBJECT(context->client), FaultKey));
}

SStreamProfile Misencoded(SStreamProfile profile, const SFault& fault) {
    if (profile.codec == VideoCodec::None)
        return profile;
    if (fault.codec)
        profile.codec = CodecNamed(*fault.codec).value_or(profile.codec);
    if (profile.codec == VideoCodec::Mjpeg && profile.jpegPercent == 0)
        profile.jpegPercent = JpegPercentOfAnotherCodec;
    if (profile.codec != VideoCodec::Mjpeg && profile.kilobitsPerSecond == 0)
        profile.kilobitsPerSecond = KilobitsOfAnotherCodec;
    profile.width = fault.width.value_or(profile.width);
    profile.height = fault.height.value_or(profile.height);
    if (fault.rate)
        profile.rate = {*fault.rate, 1};
    return profile;
}

void Silence(GstRTSPMedia* media, const SFault& fault) {
    g_signal_connect_data(
        media, "prepared", G_CALLBACK(SilencePrepared), new SFault(fault),
        [](gpointer old, GClosure*) { delete static_cast<SFault*>(old); }, static_cast<GConnectFlags>(0));
}

} // namespace camsim
