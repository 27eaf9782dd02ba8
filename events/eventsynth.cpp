#include "events/eventsynth.h"

#include "events/eventsynth_class.h"
#include "host/assert.h"
#include "host/events.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>

namespace corvane::vorn_event::v1_0 {
namespace {

using device_handler::v1_0::CDCStateEvent;
using device_handler::v1_0::CEventBase;
using device_handler::v1_0::CPingEvent;
using device_handler::v1_0::DryContactActive;
using device_handler::v1_0::DryContactInactive;
using device_handler::v1_0::HostAssert;
using vorn_utility::v1_0::CDryContactMonitor;
using RealTime = std::chrono::system_clock;

constexpr guint64 NanosecondsInMillisecond = 1'000'000;
constexpr double GreatestRandom = 2147483647.0;

guint64 Now() {
    return static_cast<guint64>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(RealTime::now().time_since_epoch()).count());
}

guint64 InNanoseconds(gint milliseconds) {
    return static_cast<guint64>(milliseconds) * NanosecondsInMillisecond;
}

struct STextName {
    guint property;
    const char* name; // for people
};

constexpr STextName TextNames[] = {
    {UsernameProperty, "user name"}, {PasswordProperty, "password"}, {AddressProperty, "address"}};

} // namespace

// Runs on zeroed memory, which holds the parent already.
void SVornEventSynth::init() {
    new (&dcState) std::atomic<gint>(DCStateLow);
    new (&dcActiveState) std::atomic<gint>(DCActiveLow);
    new (&eventMode) std::atomic<gint>(EventModeRegular);
    new (&pingPeriod) std::atomic<gint>(3);
    new (&eventPeriod) std::atomic<gint>(6);
    for (std::atomic<gint>* const index : {&deviceIndex, &deviceIndexBase, &maxDeviceIndex})
        new (index) std::atomic<gint>(0);
    new (&deactivating) std::atomic<bool>(false);
    for (std::mutex* const mutex : {&stringLock, &lock, &monitorLock, &startLock})
        new (mutex) std::mutex;
    new (&wakeup) std::condition_variable;
    new (&monitor) boost::shared_ptr<CDryContactMonitor>;
    new (&basic) vorn_utility::v1_0::SBasicPolicy;
}

void SVornEventSynth::finalize() {
    std::destroy_at(&basic);
    std::destroy_at(&monitor);
    std::destroy_at(&wakeup);
    for (std::mutex* const mutex : {&startLock, &monitorLock, &lock, &stringLock})
        std::destroy_at(mutex);
}

SVornEventSynth::SField SVornEventSynth::field(guint property) {
    if (property == UsernameProperty)
        return {username.data(), username.size()};
    if (property == PasswordProperty)
        return {password.data(), password.size()};
    return {ipaddr.data(), ipaddr.size()};
}

void SVornEventSynth::setString(guint property, const char* text) {
    const std::string_view given = text ? text : "";
    const guint bit = 1U << property;
    const std::lock_guard<std::mutex> held(stringLock);
    const SField kept = field(property);
    const bool fits = given.size() < kept.size;
    std::fill_n(kept.text, kept.size, '\0');
    if (fits)
        std::copy(given.begin(), given.end(), kept.text);
    unfitTexts = fits ? unfitTexts & ~bit : unfitTexts | bit;
}

std::string SVornEventSynth::string(guint property) {
    const std::lock_guard<std::mutex> held(stringLock);
    return field(property).text;
}

// Throws what is to be told of a text that cannot be used. Cut, it would be another camera's address, or
// another user; so would a name be at its colon.
void SVornEventSynth::requireTexts() {
    const std::lock_guard<std::mutex> held(stringLock);
    if (std::strchr(username.data(), ':'))
        throw std::invalid_argument("the camera's user name has a colon in it, which ends a name for HTTP");
    for (const STextName& row : TextNames)
        if (unfitTexts & 1U << row.property)
            throw std::length_error(std::string("the camera's ") + row.name + " is longer than the " +
                                    std::to_string(field(row.property).size - 1) +
                                    " characters that fit into an event source");
}

bool SVornEventSynth::activate(GstPad* pad) {
    GST_DEBUG_OBJECT(this, "start()");
    if (spent) {
        GST_WARNING_OBJECT(this, "an element that has been set to NULL cannot be used again");
        return false;
    }
    {
        const std::lock_guard<std::mutex> held(lock);
        deactivating = false;
        interrupted = false;
        startTime = Now();
        counters[0] = counters[1] = 0;
        lastPingTime = lastEventTime = startTime;
        scheduleNextEvent();
    }
    return gst_pad_start_task(pad, task_iterate_static, this, nullptr);
}

bool SVornEventSynth::deactivate(GstPad* pad) {
    // The task may hold the lock while it waits for the camera; it gives up first.
    deactivating = true;
    if (const auto attached = attachedMonitor())
        attached->wakeWaiters();
    interrupt();
    return gst_pad_stop_task(pad);
}

void SVornEventSynth::cleanup() {
    boost::shared_ptr<CDryContactMonitor> attached;
    {
        const std::lock_guard<std::mutex> held(monitorLock);
        attached.swap(monitor);
    }
    if (attached) // also when it had no thread for a listener: the registry forgets it
        attached->StopMonitor(subscribedIndex, registration);
    spent = startTime != 0;
}

void SVornEventSynth::interrupt() {
    const std::lock_guard<std::mutex> held(lock);
    interrupted = true;
    wakeup.notify_one();
}

void SVornEventSynth::reschedule() {
    const std::lock_guard<std::mutex> held(lock);
    scheduleNextEvent();
    wakeup.notify_one();
}

void SVornEventSynth::scheduleNextEvent() {
    if (eventMode == EventModeRegular) {
        nextEventTime = lastEventTime + InNanoseconds(eventPeriod);
        return;
    }
    const double twicePeriod = 2.0 * eventPeriod * NanosecondsInMillisecond;
    const double delta = rand_r(&randomSeed) * twicePeriod / GreatestRandom + 0.5;
    nextEventTime = lastEventTime + static_cast<guint64>(delta);
}

GstClockTime SVornEventSynth::getNextPingTime() const {
    return pingPeriod == 0 ? GST_CLOCK_TIME_NONE : lastPingTime + InNanoseconds(pingPeriod);
}

void SVornEventSynth::waitForNext(std::unique_lock<std::mutex>& held) {
    const auto deadline = std::chrono::nanoseconds(std::min(getNextPingTime(), nextEventTime));
    wakeup.wait_until(held, RealTime::time_point(std::chrono::duration_cast<RealTime::duration>(deadline)));
}

void SVornEventSynth::task_iterate_static(void* object) {
    auto* const element = static_cast<SVornEventSynth*>(object);
    try {
        element->task_iterate();
    } catch (const std::exception& failure) { // none passes through GStreamer
        GST_ELEMENT_ERROR(element, RESOURCE, FAILED,
                          ("the alarm input cannot be watched: %s", failure.what()), (nullptr));
        gst_pad_pause_task(element->sourcePad()); // it would be called again at once
    }
}

void SVornEventSynth::task_iterate() {
    std::unique_lock<std::mutex> held(lock);
    attach();
    subscribe();
    const auto goesOn = [this] { return !interrupted && !deactivating; };
    if (goesOn()) {
        waitForNext(held);
        if (goesOn())
            sendWhatIsDue();
    }
    interrupted = false;
}

void SVornEventSynth::attach() {
    if (attachedMonitor())
        return;
    requireTexts();
    const std::string address = string(AddressProperty);
    boost::shared_ptr<CDryContactMonitor> found;
    {
        const boost::lock_guard<boost::mutex> registryLock(CDryContactMonitor::s_mutex);
        boost::shared_ptr<CDryContactMonitor>& entry = CDryContactMonitor::s_dcs[address];
        if (!entry)
            entry = boost::make_shared<CDryContactMonitor>(
                address, string(UsernameProperty), string(PasswordProperty), deviceIndexBase, maxDeviceIndex);
        found = entry;
        CDryContactMonitor::s_strDryContactStatusUrl.clear();
        CDryContactMonitor::s_funGetDryContactStatus = nullptr;
    }
    found->setBasicPolicy(basic);
    const std::lock_guard<std::mutex> monitorHeld(monitorLock);
    monitor = found;
}

void SVornEventSynth::subscribe() {
    if (subscribed)
        return;
    subscribedIndex = static_cast<unsigned int>(deviceIndex.load());
    registration = attachedMonitor()->StartMonitor(
        subscribedIndex, [this](CDryContactMonitor::TDryContactState state) { EventCallbk(state); });
    subscribed = true;
}

boost::shared_ptr<CDryContactMonitor> SVornEventSynth::attachedMonitor() {
    const std::lock_guard<std::mutex> held(monitorLock);
    return monitor;
}

void SVornEventSynth::sendWhatIsDue() {
    const bool playing = isPlaying();
    const guint64 now = Now();
    const GstClockTime nextPing = getNextPingTime();
    if (nextPing != GST_CLOCK_TIME_NONE && now > nextPing) {
        if (playing)
            sendPingEvent();
        lastPingTime = nextPing; // and not now: pings keep their cadence
    }
    if (now > nextEventTime && !sendEventOfTick(playing))
        return;
    if (!attachedMonitor()->CheckHeartbeat())
        sendEndOfStream();
}

bool SVornEventSynth::isPlaying() {
    GST_OBJECT_LOCK(this);
    const bool playing = GST_STATE(this) == GST_STATE_PLAYING;
    GST_OBJECT_UNLOCK(this);
    return playing;
}

// False when the tick was given up.
bool SVornEventSynth::sendEventOfTick(bool playing) {
    if (!toggleDCState())
        return false;
    if (playing)
        sendDCStateEvent();
    lastEventTime = nextEventTime;
    scheduleNextEvent();
    return true;
}

// False when the element is deactivated, perhaps before the camera has told a level.
bool SVornEventSynth::toggleDCState() {
    const auto level = attachedMonitor()->GetStateOfInput(static_cast<unsigned int>(deviceIndex.load()),
                                                          [this] { return deactivating.load(); });
    if (level == CDryContactMonitor::DCS_LOW)
        dcState = DCStateLow;
    else if (level == CDryContactMonitor::DCS_HIGH)
        dcState = DCStateHigh;
    return !deactivating;
}

void SVornEventSynth::sendPingEvent() {
    const std::unique_ptr<CPingEvent> event(CPingEvent::Create(Now()));
    send(event.get());
}

void SVornEventSynth::sendDCStateEvent() {
    const std::unique_ptr<CDCStateEvent> event(
        CDCStateEvent::Create(Now(), dcState == dcActiveState ? DryContactActive : DryContactInactive));
    send(event.get());
}

void SVornEventSynth::send(const CEventBase* event) {
    HostAssert(event != nullptr, "event source", __LINE__);
    startStream();
    if (!bufferSent) // elements downstream start with one; a pad that is being deactivated takes none
        bufferSent =
            gst_pad_push(sourcePad(), gst_buffer_new_allocate(nullptr, 1, nullptr)) != GST_FLOW_FLUSHING;
    gst_pad_push_event(sourcePad(), event->refEvent());
}

// What a pad must have sent before anything else, and anew after it has been inactive.
void SVornEventSynth::startStream() {
    const std::lock_guard<std::mutex> held(startLock);
    if (GstEvent* const sent = gst_pad_get_sticky_event(sourcePad(), GST_EVENT_SEGMENT, 0)) {
        gst_event_unref(sent);
        return;
    }
    gchar* const stream = gst_pad_create_stream_id(sourcePad(), GST_ELEMENT(&parent), nullptr);
    gst_pad_push_event(sourcePad(), gst_event_new_stream_start(stream));
    g_free(stream);
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_pad_push_event(sourcePad(), gst_event_new_segment(&segment));
}

void SVornEventSynth::sendEndOfStream() {
    startStream();
    gst_pad_push_event(sourcePad(), gst_event_new_eos());
}

void SVornEventSynth::EventCallbk(CDryContactMonitor::TDryContactState state) {
    if (state == CDryContactMonitor::DCS_LINK_LOST)
        sendEndOfStream();
}

} // namespace corvane::vorn_event::v1_0
