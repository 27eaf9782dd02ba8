#include "host/events.h"

namespace corvane::device_handler::v1_0 {
namespace {

// The structures of the custom events, and their fields.
constexpr const char* PingName = "vorn-ping";
constexpr const char* DryContactStateName = "vorn-dry-contact-state";
constexpr const char* TimeField = "time";   // guint64
constexpr const char* StateField = "state"; // gint

GstEvent* WrappedEvent(GstStructure* structure) {
    return gst_event_new_custom(GST_EVENT_CUSTOM_DOWNSTREAM, structure);
}

} // namespace

CEventBase::~CEventBase() {
    gst_event_unref(event_);
}

GstEvent* CEventBase::refEvent() const {
    return gst_event_ref(event_);
}

CPingEvent* CPingEvent::Create(unsigned long time) {
    return new CPingEvent(
        WrappedEvent(gst_structure_new(PingName, TimeField, G_TYPE_UINT64, guint64{time}, nullptr)));
}

CDCStateEvent* CDCStateEvent::Create(unsigned long time, DryContactState state) {
    return new CDCStateEvent(
        WrappedEvent(gst_structure_new(DryContactStateName, TimeField, G_TYPE_UINT64, guint64{time},
                                       StateField, G_TYPE_INT, static_cast<gint>(state), nullptr)));
}

COptional<SStreamEvent> ReadStreamEvent(GstEvent* event) {
    if (GST_EVENT_TYPE(event) == GST_EVENT_EOS) {
        const auto now = static_cast<std::uint64_t>(g_get_real_time()) * 1'000;
        return SStreamEvent{SStreamEvent::Kind::EndOfStream, now, DryContactInactive};
    }
    const GstStructure* const structure = gst_event_get_structure(event);
    guint64 time = 0;
    if (!structure || !gst_structure_get_uint64(structure, TimeField, &time))
        return {};
    if (gst_structure_has_name(structure, PingName))
        return SStreamEvent{SStreamEvent::Kind::Ping, time, DryContactInactive};
    gint state = 0;
    if (gst_structure_has_name(structure, DryContactStateName) &&
        gst_structure_get_int(structure, StateField, &state))
        return SStreamEvent{SStreamEvent::Kind::DryContactState, time, static_cast<DryContactState>(state)};
    return {};
}

} // namespace corvane::device_handler::v1_0
