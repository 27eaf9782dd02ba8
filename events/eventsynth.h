#pragma once

#include "events/dry_contact_monitor.h"
#include "host/gst_context.h"

#include <gst/base/gstbasesrc.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

namespace corvane::device_handler::v1_0 {
class CEventBase;
}

namespace corvane::vorn_event::v1_0 {

enum VornEventSynthDCState { DCStateLow = 1, DCStateHigh = 2 };
enum VornEventSynthMode { EventModeRegular = 1, EventModeRandom = 2 };
enum VornEventSynthDCActiveState { DCActiveLow = 1, DCActiveHigh = 2 };

// The element "vorn_eventsynth": a live source of one alarm input's events, pings and states, which it takes
// from the dry contact monitor of the camera. It needs no buffers but one of a byte, before the first event;
// an end-of-stream says that the camera is lost, and may come more than once. Until the camera has told a
// level, the input counts as active. Used once: made, played, set to NULL, released.
//
// The end-of-stream of a lost link is pushed on the monitor's thread: a consumer that holds it up, one in
// PAUSED for instance, holds up every element of the same camera.
//
// Times are nanoseconds of the real-time clock. The task's thread runs `task_iterate`, the monitor's
// `EventCallbk`, the application's the rest.
struct SVornEventSynth {
    GstBaseSrc parent;

    // The properties.
    std::atomic<gint> dcState;       // VornEventSynthDCState; the input's level
    std::atomic<gint> dcActiveState; // VornEventSynthDCActiveState; the level that counts as active
    std::atomic<gint> eventMode;     // VornEventSynthMode
    std::atomic<gint> pingPeriod;    // milliseconds; 0: no pings
    std::atomic<gint> eventPeriod;   // milliseconds
    std::atomic<gint> deviceIndex;
    std::atomic<gint> deviceIndexBase;
    std::atomic<gint> maxDeviceIndex;
    std::mutex stringLock; // guards the texts
    std::array<char, 256> username;
    std::array<char, 256> password;
    std::array<char, 32> ipaddr;
    // A text that does not fit is not kept, and the element fails when it is to be used.
    guint unfitTexts; // a bit for each property, 1 << its id

    unsigned int randomSeed; // guarded by lock
    bool interrupted;        // guarded by lock
    // Set before `interrupted`, for who holds `lock` and waits for something else than `wakeup`.
    std::atomic<bool> deactivating;

    // Held through each iteration of the task except while it waits on `wakeup`. Taken before the others.
    std::mutex lock;
    std::condition_variable wakeup;

    std::mutex monitorLock; // guards the pointer; no other lock is taken while it is held but the monitor's
    boost::shared_ptr<vorn_utility::v1_0::CDryContactMonitor> monitor; // empty until the task first runs

    // Guarded by lock, as all that follows, while the task runs.
    guint64 startTime; // 0 until the pad is activated
    guint32 counters[2];
    bool bufferSent; // the byte has been pushed
    bool subscribed; // the monitor has our listener, or had it until cleanup()
    unsigned int subscribedIndex;
    std::uint64_t registration;
    bool spent; // cleanup() has been
    guint64 lastPingTime;
    guint64 lastEventTime;
    guint64 nextEventTime;

    // No property: it is the host's wish, and nobody's to set or to read. Not written once the element runs.
    vorn_utility::v1_0::SBasicPolicy basic;

    std::mutex startLock; // held while the pad's first events are pushed

    void init();
    void finalize();

    struct SField {
        char* text;
        std::size_t size; // with the zero at its end
    };
    SField field(guint property);
    void setString(guint property, const char* text);
    std::string string(guint property);

    bool activate(GstPad* pad);
    bool deactivate(GstPad* pad);
    void play() {}
    void pause() {}
    void cleanup();

    void interrupt();
    void reschedule();
    void scheduleNextEvent(); // lock is held
    GstClockTime getNextPingTime() const;
    void waitForNext(std::unique_lock<std::mutex>& held);

    static void task_iterate_static(void* object);
    void task_iterate();
    void requireTexts();
    void attach();
    void subscribe();
    bool isPlaying();
    void sendWhatIsDue();
    bool sendEventOfTick(bool playing);
    bool toggleDCState();
    void sendPingEvent();
    void sendDCStateEvent();
    void send(const device_handler::v1_0::CEventBase* event);
    void startStream();
    void sendEndOfStream();
    void EventCallbk(vorn_utility::v1_0::CDryContactMonitor::TDryContactState state);

    GstPad* sourcePad() { return GST_BASE_SRC_PAD(&parent); }
    boost::shared_ptr<vorn_utility::v1_0::CDryContactMonitor> attachedMonitor();
};

// Makes the element, a floating reference; null when it could not be registered, which the next call tries
// anew. `context` says that GStreamer is initialised. Callable from any thread.
GstElement* CreateEventSynthSrc(vorn_gst::v1_0::CGstContext* context, const char* name);

// How the element, which has not run yet, deals with Basic authentication; and from its start on whoever
// shares the camera's monitor.
void SetBasicPolicy(GstElement* element, vorn_utility::v1_0::SBasicPolicy policy);

// Takes and drops a reference.
GstElement* IncRefcount(SVornEventSynth* element);
void DecRefcount(SVornEventSynth* element);

} // namespace corvane::vorn_event::v1_0
