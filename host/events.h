#pragma once

#include "host/api.h"
#include "host/text.h"

#include <gst/gst.h>

#include <cstdint>

namespace corvane::vorn_event::v1_0 {

// The state of an alarm input, as an operation answers it.
enum DCState {
    DCS_ACTIVE = 1,
    DCS_INACTIVE = 2,
};

} // namespace corvane::vorn_event::v1_0

namespace corvane::device_handler::v1_0 {

// The state of an alarm input, as an event tells it.
enum DryContactState {
    DryContactActive = 0,
    DryContactInactive = 1,
};

// An event of a device, wrapped around the custom event that carries it through a pipeline. Times are
// nanoseconds of the real-time clock.
class VORN_HOST_API CEventBase {
public:
    // Drops its own reference to the wrapped event.
    virtual ~CEventBase();
    CEventBase(const CEventBase&) = delete;
    CEventBase& operator=(const CEventBase&) = delete;

    // A new reference to the wrapped event, serialised and downstream, for the caller.
    GstEvent* refEvent() const;

protected:
    explicit CEventBase(GstEvent* event) : event_(event) {} // takes the reference

private:
    GstEvent* const event_;
};

// Says that a stream lives.
class VORN_HOST_API CPingEvent : public CEventBase {
public:
    // The caller owns the event. Never null.
    static CPingEvent* Create(unsigned long time);

private:
    using CEventBase::CEventBase;
};

// Tells the state of an alarm input.
class VORN_HOST_API CDCStateEvent : public CEventBase {
public:
    // The caller owns the event. Never null.
    static CDCStateEvent* Create(unsigned long time, DryContactState state);

private:
    using CEventBase::CEventBase;
};

// An event of a stream, taken out of its pipeline.
struct SStreamEvent {
    enum class Kind { Ping, DryContactState, EndOfStream };

    Kind kind;
    std::uint64_t time;    // when it was made; for an end-of-stream, which tells none, when it came
    DryContactState state; // of Kind::DryContactState
};

// What `event` says to the host; nothing for one that is none of these.
VORN_HOST_API COptional<SStreamEvent> ReadStreamEvent(GstEvent* event);

} // namespace corvane::device_handler::v1_0
