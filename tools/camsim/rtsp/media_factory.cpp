#include "rtsp/media_factory.h"

#include "net/connection_bounds.h"
#include "net/listeners.h"
#include "picture/development.h"
#include "rtsp/media_faults.h"

#include <cstdio>

namespace camsim {
namespace {

// Of one camera: two who take picture and sound apart. Each takes up to 25 MB and seven threads, more with
// larger pictures.
constexpr int64_t MostStreams = 4;
CNotice tooManyStreams("RTSP: a camera makes as many streams as it may (" + std::to_string(MostStreams) +
                       "): more are answered 503");

struct SStreamSource {
    CCamera& camera;
    const SVideoStream stream;
};

// A media that cannot be prepared, so that its client is answered 503. Without any media it would be 404.
struct SRefusedMedia {
    GstRTSPMedia parent;
};

struct SRefusedMediaClass {
    GstRTSPMediaClass parent;
};

G_DEFINE_TYPE(SRefusedMedia, refused_media, GST_TYPE_RTSP_MEDIA)

void refused_media_class_init(SRefusedMediaClass* type) {
    type->parent.prepare = [](GstRTSPMedia*, GstRTSPThread*) -> gboolean { return FALSE; };
}

void refused_media_init(SRefusedMedia*) {}

// What a media was made for. Lives as long as the media's pipeline, and counts it.
struct SMediaOrigin {
    SMediaOrigin(const SStreamSource& source, const SStreamProfile& set)
        : camera(source.camera), stream(source.stream), profile(set) {
        ++camera.counters.streams;
    }
    ~SMediaOrigin() { --camera.counters.streams; }
    SMediaOrigin(const SMediaOrigin&) = delete;
    SMediaOrigin& operator=(const SMediaOrigin&) = delete;

    CCamera& camera;
    const SVideoStream stream;
    const SStreamProfile profile; // what the settings said, whatever a fault made of it
};

constexpr const char* OriginKey = "camsim-origin";

struct SVideoFactory {
    GstRTSPMediaFactory parent;
    const SStreamSource* source;
};

struct SVideoFactoryClass {
    GstRTSPMediaFactoryClass parent;
};

G_DEFINE_TYPE(SVideoFactory, video_factory, GST_TYPE_RTSP_MEDIA_FACTORY)

const SStreamSource& SourceOf(GstRTSPMediaFactory* factory) {
    return *reinterpret_cast<SVideoFactory*>(factory)->source;
}

// JPEG has a payload type of its own.
const char* PayloadType(VideoCodec codec) {
    return codec == VideoCodec::Mjpeg ? "26" : "96";
}

// Small and quick rather than good: many cameras share a machine.
std::string Encoder(const SStreamProfile& profile) {
    const std::string kilobits = std::to_string(profile.kilobitsPerSecond);
    const std::string interval = std::to_string(profile.framesPerKeyFrame);
    switch (profile.codec) {
    case VideoCodec::H264:
        return "x264enc speed-preset=ultrafast tune=zerolatency threads=1 byte-stream=true bitrate=" +
               kilobits + " key-int-max=" + interval + " ! rtph264pay config-interval=-1";
    case VideoCodec::Mpeg4:
        return "avenc_mpeg4 name=untimed threads=1 bitrate=" + kilobits + "000 gop-size=" + interval +
               " ! rtpmp4vpay config-interval=1 max-ptime=1"; // each frame in packets of its own
    case VideoCodec::Mjpeg:
    case VideoCodec::None:
        break;
    }
    return "jpegenc quality=" + std::to_string(profile.jpegPercent) + " ! rtpjpegpay";
}

std::string RawVideo(const SStreamProfile& profile) {
    return "video/x-raw,format=I420,width=" + std::to_string(profile.width) +
           ",height=" + std::to_string(profile.height) +
           ",framerate=" + std::to_string(profile.rate.numerator) + "/" +
           std::to_string(profile.rate.denominator);
}

std::string Video(const SStreamProfile& profile) {
    return "videotestsrc name=blank is-live=true pattern=black ! " + RawVideo(profile) +
           " ! videobalance name=balance"
           " ! textoverlay name=caption valignment=top halignment=left shaded-background=true"
           " ! clockoverlay valignment=bottom halignment=right shaded-background=true"
           " time-format=\"%Y-%m-%d %H:%M:%S\" ! " +
           Encoder(profile) + " name=pay0 pt=" + std::string(PayloadType(profile.codec));
}

// A quiet beep each second, in packets of 20 ms, whose codewords begin at the least significant bit as
// "G726-32" says. The encoder takes up to 4096 samples at once: were they made when they are due, a client's
// first packet would have to wait for the last of them. At this pitch nothing is left of the tone when a
// player takes the codewords in the other order; a lower one would only sound rough.
std::string Audio(const SStreamProfile& profile, const char* payloader) {
    return " audiotestsrc is-live=true wave=ticks freq=1760 sine-periods-per-tick=176 volume=0.2"
           " samplesperbuffer=4096 ! audio/x-raw,format=S16LE,rate=8000,channels=1 ! avenc_g726 bitrate=" +
           std::to_string(profile.audioKilobits) +
           "000 ! rtpg726pay force-aal2=false pt=97 max-ptime=20000000 name=" + payloader;
}

std::string Pipeline(const SStreamProfile& profile) {
    const bool seen = profile.codec != VideoCodec::None;
    std::string text = "( " + (seen ? Video(profile) : "");
    if (profile.audioKilobits > 0)
        text += Audio(profile, seen ? "pay1" : "pay0");
    return text + " )";
}

GstElement* NewStream(const SStreamProfile& profile) {
    GError* error = nullptr;
    GstElement* bin = gst_parse_launch_full(Pipeline(profile).c_str(), nullptr,
                                            static_cast<GstParseFlags>(GST_PARSE_FLAG_FATAL_ERRORS), &error);
    if (bin == nullptr) {
        std::fprintf(stderr, "camsim: no stream: %s\n", error->message);
        g_error_free(error);
    }
    return bin;
}

void DevelopPicturesOf(GstElement* bin, const SStreamSource& source) {
    GstElement* blank = gst_bin_get_by_name(GST_BIN(bin), "blank");
    GstElement* balance = gst_bin_get_by_name(GST_BIN(bin), "balance");
    DevelopPictures(blank, balance, source.camera, source.stream.input);
    gst_object_unref(balance);
    gst_object_unref(blank);
}

// The overlay reads Pango markup, so what the camera is called must not be taken for any.
void SetCaption(GstElement* bin, const std::string& title, const std::string& description) {
    gchar* valid = g_utf8_make_valid(title.data(), static_cast<gssize>(title.size()));
    gchar* escaped = g_markup_escape_text(valid, -1);
    const std::string caption = std::string(escaped) + "\n" + description;
    GstElement* overlay = gst_bin_get_by_name(GST_BIN(bin), "caption");
    g_object_set(overlay, "text", caption.c_str(), nullptr);
    gst_object_unref(overlay);
    g_free(escaped);
    g_free(valid);
}

GstPadProbeReturn NoteTime(GstPad* pad, GstPadProbeInfo* info, gpointer running) {
    GstEvent* event = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    const GstSegment* segment = nullptr;
    gst_event_parse_segment(event, &segment);
    *static_cast<GstClockTime*>(running) = gst_segment_to_running_time(
        segment, GST_FORMAT_TIME, GST_BUFFER_PTS(gst_pad_probe_info_get_buffer(info)));
    gst_event_unref(event);
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn SetTime(GstPad* pad, GstPadProbeInfo* info, gpointer running) {
    GstEvent* event = gst_pad_get_sticky_event(pad, GST_EVENT_SEGMENT, 0);
    const GstSegment* segment = nullptr;
    gst_event_parse_segment(event, &segment);
    GstBuffer* buffer = gst_buffer_make_writable(gst_pad_probe_info_get_buffer(info));
    GST_BUFFER_PTS(buffer) = gst_segment_position_from_running_time(segment, GST_FORMAT_TIME,
                                                                    *static_cast<GstClockTime*>(running));
    GST_BUFFER_DTS(buffer) = GST_BUFFER_PTS(buffer);
    GST_PAD_PROBE_INFO_DATA(info) = buffer;
    gst_event_unref(event);
    return GST_PAD_PROBE_OK;
}

// The MPEG-4 encoder of libav 5.1 under GStreamer 1.22 gives out frames without a time. It encodes each
// frame at once and in order, so the time of a frame that comes out is that of the one that went in last.
void RestoreTimes(GstElement* bin) {
    GstElement* encoder = gst_bin_get_by_name(GST_BIN(bin), "untimed");
    if (encoder == nullptr)
        return;
    GstPad* in = gst_element_get_static_pad(encoder, "sink");
    GstPad* out = gst_element_get_static_pad(encoder, "src");
    auto* running = g_new0(GstClockTime, 1); // used by the encoder's streaming thread alone
    g_object_set_data_full(G_OBJECT(bin), "camsim-time", running, g_free);
    gst_pad_add_probe(in, GST_PAD_PROBE_TYPE_BUFFER, NoteTime, running, nullptr);
    gst_pad_add_probe(out, GST_PAD_PROBE_TYPE_BUFFER, SetTime, running, nullptr);
    gst_object_unref(out);
    gst_object_unref(in);
    gst_object_unref(encoder);
}

bool HasRoomForAStream(const CCamera& camera) {
    const bool tooMany = camera.counters.streams >= MostStreams;
    if (!tooMany && HasDescriptorsForAStream())
        return true;
    (tooMany ? tooManyStreams : outOfDescriptors).say();
    return false;
}

GstElement* CreateElement(GstRTSPMediaFactory* factory, const GstRTSPUrl*) {
    const SStreamSource& source = SourceOf(factory);
    const SStreamProfile set = StreamProfile(source.camera, source.stream);
    const SFault* fault = MediaFault();
    const SStreamProfile profile =
        fault != nullptr && fault->kind == FaultKind::Encode ? Misencoded(set, *fault) : set;
    GstElement* bin = NewStream(profile);
    if (bin == nullptr)
        return nullptr;
    if (profile.codec != VideoCodec::None) {
        SetCaption(bin, InputTitle(source.camera, source.stream.input), DescribeProfile(profile));
        DevelopPicturesOf(bin, source);
    }
    RestoreTimes(bin);
    g_object_set_data_full(G_OBJECT(bin), OriginKey, new SMediaOrigin(source, set),
                           [](gpointer origin) { delete static_cast<SMediaOrigin*>(origin); });
    return bin;
}

// What is made is sent when it is due. With the latency of its source the first frame, which prepares the
// pipeline, would be ahead of all others.
GstElement* CreatePipeline(GstRTSPMediaFactory*, GstRTSPMedia* media) {
    GstElement* pipeline = gst_pipeline_new(nullptr);
    gst_pipeline_set_latency(GST_PIPELINE(pipeline), 0);
    gst_rtsp_media_take_pipeline(media, GST_PIPELINE(pipeline));
    return pipeline;
}

void Configure(GstRTSPMediaFactory* factory, GstRTSPMedia* media) {
    GST_RTSP_MEDIA_FACTORY_CLASS(video_factory_parent_class)->configure(factory, media);
    const SFault* fault = MediaFault();
    if (fault != nullptr && fault->kind == FaultKind::Silence)
        Silence(media, *fault);
}

GstRTSPMedia* Construct(GstRTSPMediaFactory* factory, const GstRTSPUrl* url) {
    if (HasRoomForAStream(SourceOf(factory).camera))
        return GST_RTSP_MEDIA_FACTORY_CLASS(video_factory_parent_class)->construct(factory, url);
    GObject* media =
        G_OBJECT(g_object_new(refused_media_get_type(), "element", gst_bin_new(nullptr), nullptr));
    return GST_RTSP_MEDIA(media);
}

void Finalize(GObject* object) {
    delete reinterpret_cast<SVideoFactory*>(object)->source;
    G_OBJECT_CLASS(video_factory_parent_class)->finalize(object);
}

void video_factory_class_init(SVideoFactoryClass* type) {
    G_OBJECT_CLASS(type)->finalize = Finalize;
    type->parent.construct = Construct;
    type->parent.create_element = CreateElement;
    type->parent.create_pipeline = CreatePipeline;
    type->parent.configure = Configure;
}

void video_factory_init(SVideoFactory*) {}

} // namespace

void LoadElements() {
    gst_init(nullptr, nullptr);
    for (const VideoCodec codec : {VideoCodec::H264, VideoCodec::Mpeg4, VideoCodec::Mjpeg})
        if (GstElement* const stream = NewStream({codec, 320, 240, {1, 1}, 1, 64, 50, 32}))
            gst_object_unref(gst_object_ref_sink(stream));
}

GstRTSPMediaFactory* NewMediaFactory(CCamera& camera, SVideoStream stream, const char* role) {
    auto* factory = static_cast<SVideoFactory*>(g_object_new(video_factory_get_type(), nullptr));
    factory->source = new SStreamSource{camera, std::move(stream)};
    GstRTSPMediaFactory* base = &factory->parent;
    gst_rtsp_media_factory_add_role(base, role, GST_RTSP_PERM_MEDIA_FACTORY_ACCESS, G_TYPE_BOOLEAN, TRUE,
                                    GST_RTSP_PERM_MEDIA_FACTORY_CONSTRUCT, G_TYPE_BOOLEAN, TRUE, nullptr);
    return base;
}

const SVideoStream& StreamOf(GstRTSPMediaFactory* factory) {
    return SourceOf(factory).stream;
}

bool IsCurrent(const CCamera& camera, GstRTSPMedia* media) {
    GstElement* bin = gst_rtsp_media_get_element(media);
    const auto* origin = static_cast<const SMediaOrigin*>(g_object_get_data(G_OBJECT(bin), OriginKey));
    const bool current =
        IsServed(camera, origin->stream) && StreamProfile(camera, origin->stream) == origin->profile;
    gst_object_unref(bin);
    return current;
}

} // namespace camsim
