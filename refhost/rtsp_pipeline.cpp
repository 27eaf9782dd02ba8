#include "refhost/rtsp_pipeline.h"

#include "host/gst_context.h"
#include "host/gst_object.h"
#include "refhost/g726.h"
#include "refhost/log.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>

namespace corvane::refhost {
namespace {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CError;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::VideoCodec;
using vorn_gst::v1_0::CGstRef;

constexpr unsigned AnswerSeconds = 5;
constexpr unsigned ExplanationSeconds = 2;    // for the connection that tells why there is none
constexpr unsigned ReorderMilliseconds = 100; // TCP keeps the order; this evens out the camera's pace
constexpr guint16 RtspPort = 554;
constexpr unsigned Unauthorized = 401;
constexpr int JpegPayload = 26;

struct SMediaChain {
    const char* media;                      // in a stream's description
    std::array<const char*, 2> encodings{}; // likewise; with a "-" at its end the beginning of it
    const char* name;
    const char* elements; // from RTP packets to whole frames

    bool isOf(const std::string& other) const {
        return std::any_of(encodings.begin(), encodings.end(), [&](const char* encoding) {
            const std::size_t length = encoding ? std::strlen(encoding) : 0;
            return length > 0 && (other == encoding ||
                                  (encoding[length - 1] == '-' && other.compare(0, length, encoding) == 0));
        });
    }
};

struct SCodecChain {
    VideoCodec codec;
    SMediaChain chain;
};

// MPEG-4's frames do not tell their rate; the description of the stream does. H.264's parameter sets go
// before each key frame, so that a recording can begin at any of them.
constexpr SCodecChain CodecChains[] = {
    {VideoCodec::Mjpeg, {"video", {"JPEG"}, "MJPEG", "rtpjpegdepay ! jpegparse"}},
    {VideoCodec::Mpeg4,
     {"video", {"MP4V-ES"}, "MPEG-4", "rtpmp4vdepay ! capssetter name=rate ! mpeg4videoparse"}},
    {VideoCodec::H264, {"video", {"H264"}, "H.264", "rtph264depay ! h264parse config-interval=-1"}},
};

// The codewords stay as they come: the depayloader of GStreamer 1.22 puts those of 24 and 40 kbit/s in a
// wrong order.
constexpr SMediaChain AudioChain = {
    "audio", {"G726-", "AAL2-G726-"}, "G.726", "rtpg726depay force-aal2=true"};

const SMediaChain* findChain(VideoCodec codec) {
    const auto* const found =
        std::find_if(std::begin(CodecChains), std::end(CodecChains),
                     [codec](const SCodecChain& chain) { return chain.codec == codec; });
    return found == std::end(CodecChains) ? nullptr : &found->chain;
}

// The encoding's usual name, or the encoding as the camera gives it.
std::string encodingName(const std::string& encoding) {
    for (const SCodecChain& row : CodecChains)
        if (row.chain.isOf(encoding))
            return row.chain.name;
    return encoding;
}

// What the camera's description offers, and which of it is taken: the first of the wanted encoding.
class COffer {
public:
    explicit COffer(const SMediaChain& wanted) : wanted_(wanted) {}

    bool takes(guint number, const GstStructure* media) {
        const bool isOfKind = textOf(media, "media") == wanted_.media;
        const std::string encoding = encodingOf(media);
        const std::lock_guard<std::mutex> lock(mutex_);
        if (isOfKind && wanted_.isOf(encoding) && taken_ < 0)
            taken_ = static_cast<int>(number);
        else if (isOfKind && !wanted_.isOf(encoding))
            otherEncoding_ = encoding;
        return taken_ == static_cast<int>(number);
    }

    // Why nothing of it was taken; empty when something was.
    std::string refusal() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (taken_ >= 0)
            return {};
        if (otherEncoding_.empty())
            return &wanted_ == &AudioChain ? rtsp_failure::NoAudio : rtsp_failure::NoVideo;
        return std::string(rtsp_failure::WrongCodec) + ": the camera sends " + encodingName(otherEncoding_) +
               " where " + wanted_.name + " was asked for";
    }

private:
    // A payload type of fixed meaning needs no name in the description.
    static std::string encodingOf(const GstStructure* media) {
        int payload = 0;
        const bool isFixedJpeg = gst_structure_get_int(media, "payload", &payload) && payload == JpegPayload;
        return isFixedJpeg ? "JPEG" : textOf(media, "encoding-name");
    }

    static std::string textOf(const GstStructure* media, const char* field) {
        const gchar* const text = gst_structure_get_string(media, field);
        return text ? text : "";
    }

    const SMediaChain& wanted_;
    mutable std::mutex mutex_; // guards what follows
    int taken_ = -1;
    std::string otherEncoding_;
};

// GStreamer says only that there is no connection. Another attempt tells why: refused, no such host, no
// answer.
std::string explainFailedConnection(const std::string& url, GCancellable* cancellable) {
    GSocketClient* const client = g_socket_client_new();
    g_socket_client_set_timeout(client, ExplanationSeconds);
    g_socket_client_set_enable_proxy(client, FALSE);
    GError* error = nullptr;
    GSocketConnection* const connection =
        g_socket_client_connect_to_uri(client, url.c_str(), RtspPort, cancellable, &error);
    g_object_unref(client);
    if (connection) {
        g_object_unref(connection);
        return rtsp_failure::NotConnected;
    }
    std::string reason = std::string(rtsp_failure::NotConnected) + ": " + error->message;
    if (error->domain == G_RESOLVER_ERROR)
        reason = rtsp_failure::HostNotFound;
    else if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CONNECTION_REFUSED))
        reason = rtsp_failure::Refused;
    else if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT))
        reason = rtsp_failure::TimedOut;
    g_error_free(error);
    return reason;
}

// An error message taken apart.
struct SPostedError {
    std::string text;
    std::string detail;
    unsigned status = 0; // of the camera's answer; 0: none
    std::string statusReason;
    bool ofResource = false; // the exchange failed, not what came of it

    explicit SPostedError(GstMessage* message) {
        GError* error = nullptr;
        gchar* debug = nullptr;
        gst_message_parse_error(message, &error, &debug);
        text = error->message;
        detail = debug ? debug : "";
        ofResource = error->domain == GST_RESOURCE_ERROR;
        g_error_free(error);
        g_free(debug);
        const GstStructure* details = nullptr;
        gst_message_parse_error_details(message, &details);
        if (details && gst_structure_get_uint(details, "rtsp-status-code", &status)) {
            const gchar* const reason = gst_structure_get_string(details, "rtsp-status-reason");
            statusReason = reason ? reason : "";
        }
    }

    bool tells(const char* what) const { return detail.find(what) != std::string::npos; }
};

// One stream on its way into the pipeline, which owns both elements.
struct SReception {
    std::string url;
    std::shared_ptr<COffer> offer;
    GstElement* source = nullptr;
    GstElement* chain = nullptr;

    bool holds(GstObject* element) const {
        return gst_object_has_as_ancestor(element, GST_OBJECT(source)) ||
               gst_object_has_as_ancestor(element, GST_OBJECT(chain));
    }
};

class CRtspStreamController : public vorn_stream_controller::v1_0::CSimpleStreamController {
public:
    CRtspStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad, SReception video,
                          std::shared_ptr<const void> use)
        : CSimpleStreamController(pipeline, bus, pad), video_(std::move(video)), use_(std::move(use)) {}
    ~CRtspStreamController() override {
        CRtspStreamController::stop();
        g_object_unref(cancellable_);
    }

    // Before the start. Two streams have no clock in common but the recorder's: each follows when its packets
    // come, so that sound and picture stay together.
    void setAudio(SReception audio) {
        audio_ = std::move(audio);
        for (GstElement* const source : {audio_.source, video_.source})
            gst_util_set_object_arg(G_OBJECT(source), "buffer-mode", "slave");
    }

protected:
    CError describeFailure(GstMessage* message) override {
        if (!audio_.source || !audio_.holds(GST_MESSAGE_SRC(message)))
            return describeFailure(message, video_);
        const CError error = describeFailure(message, audio_);
        return {static_cast<RtnCode>(error.getCode()), static_cast<Origin>(error.getOrigin()),
                rtsp_failure::OfAudio + error.getText()};
    }

    void stopping() override { g_cancellable_cancel(cancellable_); }

private:
    CError describeFailure(GstMessage* message, const SReception& reception) {
        const SPostedError error(message);
        if (error.status != 0)
            return {error.status == Unauthorized ? RtnCode::AuthenticationFailed : RtnCode::OperationFailed,
                    Origin::Device,
                    rtsp_failure::Status + std::to_string(error.status) + " " + error.statusReason};
        if (!error.ofResource) {
            const std::string refusal = reception.offer->refusal();
            return refusal.empty() ? CSimpleStreamController::describeFailure(message)
                                   : CError(RtnCode::NotSupported, Origin::Device, refusal);
        }
        if (error.tells("Failed to connect"))
            return notAccessible(explainFailedConnection(reception.url, cancellable_));
        if (error.tells("Timeout"))
            return notAccessible(rtsp_failure::TimedOut);
        if (error.tells("closed the connection") || error.tells("End-of-file"))
            return notAccessible(rtsp_failure::Closed);
        return {RtnCode::OperationFailed, Origin::Device, error.text};
    }

    static CError notAccessible(const std::string& reason) {
        return {RtnCode::NotAccessible, Origin::Device, reason};
    }

    const SReception video_;
    SReception audio_; // without elements when the stream has none
    const std::shared_ptr<const void> use_;
    GCancellable* const cancellable_ = g_cancellable_new();
};

gboolean selectStream(GstElement*, guint number, GstCaps* media, gpointer offer) {
    return (*static_cast<std::shared_ptr<COffer>*>(offer))->takes(number, gst_caps_get_structure(media, 0));
}

void deleteOffer(gpointer offer, GClosure*) {
    delete static_cast<std::shared_ptr<COffer>*>(offer);
}

// Gives the frames the rate of the stream's description, where the chain has a place for it.
void tellFrameRate(GstElement* chain, GstPad* pad) {
    const CGstRef<GstElement> setter(gst_bin_get_by_name(GST_BIN(chain), "rate"));
    GstCaps* const media = setter ? gst_pad_get_current_caps(pad) : nullptr;
    if (!media)
        return;
    const gchar* const text = gst_structure_get_string(gst_caps_get_structure(media, 0), "a-framerate");
    int numerator = 0;
    int denominator = 1;
    gst_util_double_to_fraction(text ? g_ascii_strtod(text, nullptr) : 0, &numerator, &denominator);
    gst_caps_unref(media);
    if (numerator <= 0)
        return;
    GstCaps* const rate =
        gst_caps_new_simple("video/mpeg", "framerate", GST_TYPE_FRACTION, numerator, denominator, nullptr);
    g_object_set(setter.get(), "caps", rate, nullptr);
    gst_caps_unref(rate);
}

GstPadProbeReturn putCodewordsInOrder(GstPad*, GstPadProbeInfo* info, gpointer bits) {
    GstBuffer* const sound = gst_buffer_make_writable(GST_PAD_PROBE_INFO_BUFFER(info));
    GST_PAD_PROBE_INFO_DATA(info) = sound;
    GstMapInfo map;
    if (!gst_buffer_map(sound, &map, GST_MAP_READWRITE))
        return GST_PAD_PROBE_DROP;
    PutMostSignificantFirst(map.data, map.size, GPOINTER_TO_UINT(bits));
    gst_buffer_unmap(sound, &map);
    return GST_PAD_PROBE_OK;
}

void orderCodewords(GstElement* chain, GstPad* pad) {
    GstCaps* const media = gst_pad_get_current_caps(pad);
    if (!media)
        return;
    const gchar* const encoding = gst_structure_get_string(gst_caps_get_structure(media, 0), "encoding-name");
    const unsigned bits = LeastSignificantFirstBits(encoding ? encoding : "");
    gst_caps_unref(media);
    if (bits == 0)
        return;
    const CGstRef<GstPad> sound(gst_element_get_static_pad(chain, "src"));
    gst_pad_add_probe(sound.get(), GST_PAD_PROBE_TYPE_BUFFER, putCodewordsInOrder, GUINT_TO_POINTER(bits),
                      nullptr);
}

void linkToChain(GstElement*, GstPad* pad, gpointer chain) {
    tellFrameRate(GST_ELEMENT(chain), pad);
    orderCodewords(GST_ELEMENT(chain), pad);
    const CGstRef<GstPad> sink(gst_element_get_static_pad(GST_ELEMENT(chain), "sink"));
    gst_pad_link(pad, sink.get());
}

void configureSource(GstElement* source, const std::string& url, const CAuthentication& credentials) {
    gst_util_set_object_arg(G_OBJECT(source), "protocols", "tcp");
    // The camera's own times: a frame that is held up on its way keeps its distance from the others.
    gst_util_set_object_arg(G_OBJECT(source), "buffer-mode", "synced");
    g_object_set(source, "location", url.c_str(), "tcp-timeout", guint64{AnswerSeconds} * G_USEC_PER_SEC,
                 "latency", ReorderMilliseconds, nullptr);
    if (!credentials.isSet())
        return;
    const std::string user = credentials.getUsername();
    const std::string password = credentials.getPassword();
    g_object_set(source, "user-id", user.c_str(), "user-pw", password.c_str(), nullptr);
    // As the basic scheme sends them.
    const std::string pair = user + ":" + password;
    gchar* const encoded = g_base64_encode(reinterpret_cast<const guchar*>(pair.data()), pair.size());
    AddSecret(encoded);
    g_free(encoded);
}

CError notInstalled(const std::string& what) {
    return {RtnCode::OperationFailed, Origin::General, "GStreamer lacks an element: " + what};
}

// Makes the chain from packets to frames, a bin with the pads "sink" and "src".
CError makeChain(const SMediaChain& wanted, CGstRef<GstElement>& chain) {
    GError* error = nullptr;
    GstElement* const made = gst_parse_bin_from_description(wanted.elements, TRUE, &error);
    if (made)
        chain.reset(GST_ELEMENT(gst_object_ref_sink(made)));
    if (!error)
        return CError::Success();
    CError failure = notInstalled(error->message);
    g_error_free(error);
    return failure;
}

// Adds what receives a stream to `bin`, with a pad of that name where its frames come out.
CError addReception(GstBin* bin, const SMediaChain& wanted, const std::string& url,
                    const CAuthentication& credentials, const char* padName, SReception& reception) {
    CGstRef<GstElement> chain;
    if (CError error = makeChain(wanted, chain))
        return error;
    GstElement* const source = gst_element_factory_make("rtspsrc", nullptr);
    if (!source)
        return notInstalled("rtspsrc");
    configureSource(source, url, credentials);
    gst_bin_add_many(bin, source, chain.get(), nullptr);
    const CGstRef<GstPad> frames(gst_element_get_static_pad(chain.get(), "src"));
    gst_element_add_pad(GST_ELEMENT(bin), gst_ghost_pad_new(padName, frames.get()));
    reception = {url, std::make_shared<COffer>(wanted), source, chain.get()};
    g_signal_connect_data(source, "select-stream", G_CALLBACK(selectStream),
                          new std::shared_ptr<COffer>(reception.offer), deleteOffer, GConnectFlags(0));
    g_signal_connect(source, "pad-added", G_CALLBACK(linkToChain), chain.get());
    return CError::Success();
}

} // namespace

CError CreateRtspPipeline(const std::string& url, VideoCodec codec, const CAuthentication& credentials,
                          std::shared_ptr<const void> use, IStreamController*& controller) {
    const SMediaChain* const wanted = findChain(codec);
    if (!wanted)
        return {RtnCode::NotSupported, Origin::General,
                "no pipeline for codec " + std::to_string(static_cast<int>(codec))};
    vorn_gst::v1_0::CGstContext::Get();
    const CGstRef<GstElement> pipeline(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    GstElement* const bin = gst_bin_new("srcbin");
    gst_bin_add(GST_BIN(pipeline.get()), bin);
    SReception video;
    if (CError error = addReception(GST_BIN(bin), *wanted, url, credentials, "src", video))
        return error;
    const CGstRef<GstPad> pad(gst_element_get_static_pad(bin, "src"));
    const CGstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
    controller =
        new CRtspStreamController(pipeline.get(), bus.get(), pad.get(), std::move(video), std::move(use));
    return CError::Success();
}

CError AddRtspAudio(IStreamController& controller, const std::string& url, const CAuthentication& credentials,
                    GstPad*& pad) {
    auto* const stream = dynamic_cast<CRtspStreamController*>(&controller);
    if (!stream)
        return {RtnCode::NotSupported, Origin::General,
                "audio goes into the pipeline of an RTSP stream only"};
    const CGstRef<GstElement> bin(gst_pad_get_parent_element(stream->getSourcePad()));
    SReception audio;
    if (CError error = addReception(GST_BIN(bin.get()), AudioChain, url, credentials, "audio", audio))
        return error;
    stream->setAudio(std::move(audio));
    const CGstRef<GstPad> made(gst_element_get_static_pad(bin.get(), "audio"));
    pad = made.get(); // the bin holds it
    return CError::Success();
}

} // namespace corvane::refhost
