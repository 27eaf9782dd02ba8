#include "refhost/streams/rtsp_pipeline.h"

#include "host/gst_context.h"
#include "host/gst_object.h"
#include "refhost/streams/rtsp_media.h"
#include "refhost/streams/rtsp_reception.h"

#include <mutex>
#include <utility>

namespace corvane::refhost {
namespace {

using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SStreamEnd;
using vorn_gst::v1_0::CGstRef;

using CReceptionPtr = std::unique_ptr<CRtspReception>;

// The camera's own times: a frame that is held up on its way keeps its distance from the others.
constexpr const char* TimingOfOne = "synced";
// Two streams have no clock in common but the recorder's: each follows when its packets come, so that sound
// and picture stay together.
constexpr const char* TimingOfTwo = "slave";

class CRtspStreamController : public vorn_stream_controller::v1_0::CSimpleStreamController {
public:
    CRtspStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad, CReceptionPtr video,
                          std::shared_ptr<const void> use)
        : CSimpleStreamController(pipeline, bus, pad), video_(std::move(video)), use_(std::move(use)) {}
    ~CRtspStreamController() override { CRtspStreamController::stop(); }

    // Before the start.
    void setAudio(CReceptionPtr audio) {
        audio_ = std::move(audio);
        for (const CReceptionPtr& reception : {std::cref(audio_), std::cref(video_)})
            reception->setTiming(TimingOfTwo);
    }

    std::string asked(RtspPart part) const {
        const CReceptionPtr& reception = part == RtspPart::Sound ? audio_ : video_;
        return reception ? reception->asked() : "";
    }

    // The cameras are asked once the pipeline plays: what comes earlier would have no times.
    CError start() override {
        if (CError error = CSimpleStreamController::start())
            return error;
        CError error = startThreads();
        if (error)
            end({SStreamEnd::Cause::Failure, error});
        return error;
    }

    // The camera first: while it goes on sending, an end-of-stream from elsewhere would wait for its turn.
    void finish() override {
        video_->finish();
        if (audio_)
            audio_->finish();
    }

    void stop() override {
        CSimpleStreamController::stop();
        const std::lock_guard<std::mutex> lock(threadMutex_);
        video_->join();
        if (audio_)
            audio_->join();
    }

protected:
    CError describeFailure(GstMessage* message) override {
        const bool isOfAudio = audio_ && audio_->holds(GST_MESSAGE_SRC(message));
        CError error = (isOfAudio ? audio_ : video_)->failure();
        if (!error)
            error = CSimpleStreamController::describeFailure(message);
        return {static_cast<RtnCode>(error.getCode()), static_cast<Origin>(error.getOrigin()),
                (isOfAudio ? rtsp_failure::OfAudio : "") + error.getText()};
    }

    void stopping() override {
        video_->cancel();
        if (audio_)
            audio_->cancel();
    }

private:
    CError startThreads() {
        const std::lock_guard<std::mutex> lock(threadMutex_);
        const CError error = video_->start();
        return error || !audio_ ? error : audio_->start();
    }

    const CReceptionPtr video_;
    CReceptionPtr audio_; // empty when the stream has none
    const std::shared_ptr<const void> use_;
    std::mutex threadMutex_; // held while the receptions' threads are started and joined
};

// Adds what receives a stream to `bin`, with a pad of that name where its frames come out.
CError AddReception(GstBin* bin, const SRtspMedia& wanted, const SRtspSource& source, const char* padName,
                    CReceptionPtr& reception) {
    auto made = std::make_unique<CRtspReception>(wanted, source);
    if (CError error = made->addTo(bin, padName))
        return error;
    made->setTiming(TimingOfOne);
    reception = std::move(made);
    return CError::Success();
}

} // namespace

CError CreateRtspPipeline(const SRtspSource& source, VideoCodec codec, std::shared_ptr<const void> use,
                          IStreamController*& controller) {
    const SRtspMedia* const wanted = FindVideoMedia(codec);
    if (!wanted)
        return {RtnCode::NotSupported, Origin::General,
                "no pipeline for codec " + std::to_string(static_cast<int>(codec))};
    vorn_gst::v1_0::CGstContext::Get();
    const CGstRef<GstElement> pipeline(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    GstElement* const bin = gst_bin_new("srcbin");
    gst_bin_add(GST_BIN(pipeline.get()), bin);
    CReceptionPtr video;
    if (CError error = AddReception(GST_BIN(bin), *wanted, source, "src", video))
        return error;
    const CGstRef<GstPad> pad(gst_element_get_static_pad(bin, "src"));
    const CGstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
    controller =
        new CRtspStreamController(pipeline.get(), bus.get(), pad.get(), std::move(video), std::move(use));
    return CError::Success();
}

CError AddRtspAudio(IStreamController& controller, const SRtspSource& source, GstPad*& pad) {
    auto* const stream = dynamic_cast<CRtspStreamController*>(&controller);
    if (!stream)
        return {RtnCode::NotSupported, Origin::General,
                "audio goes into the pipeline of an RTSP stream only"};
    const CGstRef<GstElement> bin(gst_pad_get_parent_element(stream->getSourcePad()));
    CReceptionPtr audio;
    if (CError error = AddReception(GST_BIN(bin.get()), AudioMedia(), source, "audio", audio))
        return error;
    stream->setAudio(std::move(audio));
    const CGstRef<GstPad> made(gst_element_get_static_pad(bin.get(), "audio"));
    pad = made.get(); // the bin holds it
    return CError::Success();
}

std::string RtspRequest(const IStreamController& controller, RtspPart part) {
    const auto* const stream = dynamic_cast<const CRtspStreamController*>(&controller);
    return stream ? stream->asked(part) : "";
}

} // namespace corvane::refhost
