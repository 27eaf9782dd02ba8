#include "host/event_stream_controller.h"

#include "host/gst_object.h"

namespace corvane::vorn_event_stream_controller::v1_0 {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using vorn_gst::v1_0::CGstRef;

CEventStreamController::CEventStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad,
                                               GstElement* source)
    : CSimpleStreamController(pipeline, bus, pad),
      probe_(gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, eventComes, this, nullptr)) {
    g_weak_ref_init(&source_, source);
}

CEventStreamController::~CEventStreamController() {
    stop();
    gst_pad_remove_probe(getSourcePad(), probe_);
    g_weak_ref_clear(&source_);
}

CError CEventStreamController::prepare() {
    if (gst_pad_is_linked(getSourcePad()))
        return CError::Success();
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    if (!sink)
        return {RtnCode::OperationFailed, Origin::General, "GStreamer lacks fakesink"};
    // Events are to be seen when they come, whatever the pipeline's clock and preroll.
    g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
    gst_bin_add(GST_BIN(getPipeline()), sink);
    const CGstRef<GstPad> input(gst_element_get_static_pad(sink, "sink"));
    gst_pad_link(getSourcePad(), input.get()); // a fakesink takes everything
    return CError::Success();
}

void CEventStreamController::setEventObserver(boost::function<void(const SStreamEvent&)> observer) {
    const std::lock_guard<std::mutex> lock(observerMutex_);
    observer_ = std::move(observer);
}

GstElement* CEventStreamController::refEventSource() {
    return static_cast<GstElement*>(g_weak_ref_get(&source_));
}

GstPadProbeReturn CEventStreamController::eventComes(GstPad*, GstPadProbeInfo* info, gpointer controller) {
    const auto event = device_handler::v1_0::ReadStreamEvent(GST_PAD_PROBE_INFO_EVENT(info));
    auto* const self = static_cast<CEventStreamController*>(controller);
    const std::lock_guard<std::mutex> lock(self->observerMutex_);
    if (!event || self->hasEnded_) // the pad may still let one through that was on its way
        return GST_PAD_PROBE_OK;
    self->hasEnded_ = event->kind == SStreamEvent::Kind::EndOfStream;
    if (self->observer_)
        self->observer_(*event);
    return GST_PAD_PROBE_OK;
}

} // namespace corvane::vorn_event_stream_controller::v1_0
