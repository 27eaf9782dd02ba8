#pragma once

#include "host/events.h"
#include "host/stream_controller.h"

namespace corvane::vorn_event_stream_controller::v1_0 {

using device_handler::v1_0::CError;
using device_handler::v1_0::SStreamEvent;

// The stream controller of a device's events. Where the owner has linked nothing behind the source pad by the
// start, the controller takes the stream itself; the observer gets each event in either case.
//
// Operations, threads and ownership are CSimpleStreamController's.
class VORN_HOST_API CEventStreamController : public vorn_stream_controller::v1_0::CSimpleStreamController {
public:
    // `source` is the element that makes the events; only a weak reference to it is kept.
    CEventStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad, GstElement* source);
    // Stops the stream.
    ~CEventStreamController() override;

    // `observer` is called for each event in the order in which they come, the last time for an
    // end-of-stream, before the stream ends by it; on a thread of the pipeline or of the event's source, one
    // call after another. It must return soon, must not throw, and calls no operation of the controller. Must
    // be set before start().
    void setEventObserver(boost::function<void(const SStreamEvent&)> observer);

    // The element that makes the events, a reference for the caller; null when it is gone.
    GstElement* refEventSource();

protected:
    CError prepare() override;

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

} // namespace corvane::vorn_event_stream_controller::v1_0
