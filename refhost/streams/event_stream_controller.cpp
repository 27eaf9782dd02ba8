#include "host/event_stream_controller.h"

#include "host/gst_object.h"

#include <mutex>
#include <utility>

namespace corvane::vorn_event_stream_controller::v1_0 {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using vorn_gst::v1_0::CGstRef;

struct CEventStreamController::SBase {
    SBase(GstPad* pad, GstElement* itsSource)
        : probe(gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, eventComes, this, nullptr)) {
        g_weak_ref_init(&source, itsSource);
    }
    ~SBase() { g_weak_ref_clear(&source); }

    static GstPadProbeReturn eventComes(GstPad* pad, GstPadProbeInfo* info, gpointer base);

    GWeakRef source{};
    const gulong probe;
    std::mutex observerMutex; // held while the observer runs; guards it
    boost::function<void(const SStreamEvent&)> observer;
    bool hasEnded = false; // an end-of-stream has come; guarded by observerMutex
};

CEventStreamController::CEventStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad,
                                               GstElement* source)
    : CSimpleStreamController(pipeline, bus, pad), base_(std::make_unique<SBase>(pad, source)) {}

CEventStreamController::~CEventStreamController() {
    stop();
    gst_pad_remove_probe(getSourcePad(), base_->probe);
}

CError CEventStreamController::prepare() {
    if (gst_pad_is_linked(getSourcePad()))
        return CError::Success();
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    if (!sink)
        return {RtnCode::OperationFailed, Origin::General,
                device_handler::v1_0::NoElementText + std::string("fakesink")};
    // Events are to be seen when they come, whatever the pipeline's clock and preroll.
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    gst_bin_add(GST_BIN(getPipeline()), sink);
    const CGstRef<GstPad> input(gst_element_get_static_pad(sink, "sink"));
    gst_pad_link(getSourcePad(), input.get()); // a fakesink takes everything
    return CError::Success();
}

void CEventStreamController::setEventObserver(boost::function<void(const SStreamEvent&)> observer) {
    const std::lock_guard<std::mutex> lock(base_->observerMutex);
    base_->observer = std::move(observer);
}

GstElement* CEventStreamController::refEventSource() {
    return static_cast<GstElement*>(g_weak_ref_get(&base_->source));
}

GstPadProbeReturn CEventStreamController::SBase::eventComes(GstPad*, GstPadProbeInfo* info, gpointer base) {
    const auto event = device_handler::v1_0::ReadStreamEvent(GST_PAD_PROBE_INFO_EVENT(info));
    auto& self = *static_cast<SBase*>(base);
    const std::lock_guard<std::mutex> lock(self.observerMutex);
    if (!event || self.hasEnded) // the pad may still let one through that was on its way
        return GST_PAD_PROBE_OK;
    self.hasEnded = event->kind == SStreamEvent::Kind::EndOfStream;
    if (self.observer)
        self.observer(*event);
    return GST_PAD_PROBE_OK;
}

} // namespace corvane::vorn_event_stream_controller::v1_0
