// Alarm inputs: their modes and states, and the stream of their events.

#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/numbers.h"
#include "camera/panasonic_camera.h"
#include "camera/setting.h"
#include "camera/setting_keys.h"
#include "events/eventsynth.h"
#include "host/event_stream_controller.h"
#include "host/gst_context.h"
#include "host/gst_object.h"
#include "host/log.h"

#include <cstddef>
#include <iterator>
#include <memory>

namespace corvane::panasonic_camera {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::LogFailure;
using device_handler::v1_0::LogNotice;
using vorn_camera_base::v1_0::ActiveHigh;
using vorn_camera_base::v1_0::ActiveLow;
using vorn_camera_base::v1_0::DryContactInputProperty;
using vorn_event_stream_controller::v1_0::CEventStreamController;
using vorn_gst::v1_0::CGstContext;
using vorn_gst::v1_0::CGstRef;
using vorn_gst::v1_0::TakeFloating;

namespace {

struct SAlarmInput {
    const char* enableKey;
    const char* enableQuery; // of cgi::JpegAlarm
    const char* modeKey;
};

// By the recorder's number.
constexpr SAlarmInput AlarmInputs[] = {
    {key::Terminal1Alarm, "trm_alarm=1", key::Terminal1Mode},
    {key::Terminal2Alarm, "trm_alarm2=1", key::Terminal2Mode},
    {key::Terminal3Alarm, "trm_alarm3=1", key::Terminal3Mode},
};

constexpr const char* ModeNormallyOpen = "no";
constexpr const char* ModeNormallyClosed = "nc";

// Of the event source.
constexpr int EventPeriod = 100; // milliseconds
constexpr int PingPeriod = 1000; // milliseconds

const SAlarmInput* FindAlarmInput(int input) {
    return input >= 0 && input < static_cast<int>(std::size(AlarmInputs)) ? &AlarmInputs[input] : nullptr;
}

std::string TerminalText(int input) {
    return std::to_string(static_cast<long long>(input) + 1);
}

// Whether the reply says anything of "High" where it tells the input's terminal.
bool IsTerminalHigh(const std::string& reply, int input) {
    const std::string key = "terminal " + TerminalText(input) + ": ";
    const std::size_t at = reply.find(key);
    if (at == std::string::npos)
        return false;
    const std::size_t begin = at + key.size();
    return reply.substr(begin, reply.find("\r\n", begin) - begin).find("High") != std::string::npos;
}

} // namespace

CError CPanasonicCamera::getDryContactInputProperties(std::vector<CString>& names) {
    int count = 0;
    if (capabilityOrNone().IsDryContactSupported(count))
        return CVornCamera::getDryContactInputProperties(names);
    names.emplace_back("DryContactInputProperties");
    return CError::Success();
}

CError CPanasonicCamera::getDryContactInputCount(CString& count) {
    int number = 0;
    if (!capabilityOrNone().IsDryContactSupported(number))
        return errors::NotReported();
    count = std::to_string(number);
    return CError::Success();
}

CError CPanasonicCamera::CheckAndSetAlarm(int input) {
    const SAlarmInput* const row = FindAlarmInput(input);
    if (row && setting && cameraSetting(row->enableKey) != On)
        (void)setting->SetCameraSetting(cgi::JpegAlarm, row->enableQuery);
    return CError::Success();
}

CError CPanasonicCamera::setDryContactInputActiveState(int input, CString level) {
    int count = 0;
    if (!capabilityOrNone().IsDryContactSupported(count))
        return errors::NotReported();
    (void)CheckAndSetAlarm(input);
    const char* const mode = level == ActiveLow ? ModeNormallyOpen : ModeNormallyClosed;
    (void)setting->SetCameraSetting(cgi::TerminalDefault, "input" + TerminalText(input) + "=" + mode);
    return CError::Success();
}

CError CPanasonicCamera::getDryContactInputActiveState(int input, std::vector<CString>& values) {
    int count = 0;
    if (!capabilityOrNone().IsDryContactSupported(count))
        return errors::NotReported();
    (void)CheckAndSetAlarm(input);
    const SAlarmInput* const row = FindAlarmInput(input);
    const std::string mode = row ? cameraSetting(row->modeKey) : "";
    if (mode.empty())
        values.emplace_back(ActiveLow);
    else
        values.insert(values.end(),
                      {mode == ModeNormallyOpen ? ActiveLow : ActiveHigh, ActiveLow, ActiveLow, ActiveHigh});
    return CError::Success();
}

CError CPanasonicCamera::getDryContactInputState(int input, DCState& state) {
    int count = 0;
    if (!capabilityOrNone().IsDryContactSupported(count))
        return errors::NotReported();
    (void)CheckAndSetAlarm(input);
    if (const CGstRef<GstElement> source = eventSources_.find(input)) {
        gint live = vorn_event::v1_0::DCS_ACTIVE;
        g_object_get(source.get(), "drycontact-state", &live, nullptr);
        state = static_cast<DCState>(live);
        return CError::Success();
    }
    std::string reply; // stays empty where the camera does not answer: then no input is active
    if (const CError error = setting->CameraHttpGet(cgi::GetIoAll, reply, cgi::RequestTimeout))
        deviceContext()->log(LogFailure, "alarm inputs: %s", error.getText().c_str());
    const bool isActive = input >= 0 && input < count && IsTerminalHigh(reply, input);
    state = isActive ? vorn_event::v1_0::DCS_ACTIVE : vorn_event::v1_0::DCS_INACTIVE;
    return CError::Success();
}

CError CPanasonicCamera::getEventStreamUrl(int /*input*/, std::string& url) {
    url = vorn_utility::v1_0::DryContactMonitorUrl(address());
    return CError::Success();
}

CError CPanasonicCamera::eventStreamFailure(const CError& error) {
    deviceContext()->log(LogFailure, "%s", error.getText().c_str());
    return error;
}

CError CPanasonicCamera::configureEventSource(GstElement* source, int input,
                                              const CAuthentication& credentials) {
    const int index = reIndex(input, DryContactInputProperty);
    const int base = inputBase(DryContactInputProperty);
    CString count;
    if (CError error = getDryContactInputCount(count))
        return error;
    if (index < 0)
        return errors::NotReported();
    vorn_event::v1_0::SetBasicPolicy(source, {credentials.isBasicRefused(), [log = deviceContext()] {
                                                  log->log(LogNotice, "alarm inputs: %s",
                                                           device_handler::v1_0::BasicAloneText);
                                              }});
    g_object_set(source, "drycontact-activestate", vorn_event::v1_0::DCActiveHigh, "event-mode",
                 vorn_event::v1_0::EventModeRegular, "event-period", EventPeriod, "ping-period", PingPeriod,
                 "device-index", index, "device-index-base", base, "max-device-index",
                 base + ReadNumber<int>(count.str()), "username", credentials.getUsername().c_str(),
                 "user-password", credentials.getPassword().c_str(), "ipaddr", address().c_str(), nullptr);
    return CError::Success();
}

CError CPanasonicCamera::createEventStreamPipeline(IStreamController*& controller, int input) {
    CGstContext* const context = CGstContext::Get();
    const CAuthentication credentials = deviceContext()->getAuthentication();
    if (!credentials.isSet())
        return errors::AuthenticationUnavailable();

    const auto bin = TakeFloating(gst_element_factory_make("bin", "srcbin"));
    if (!bin)
        return eventStreamFailure(errors::EventObjectNotCreated("source bin"));
    const auto source = TakeFloating(vorn_event::v1_0::CreateEventSynthSrc(context, "source"));
    if (!source)
        return eventStreamFailure(errors::EventObjectNotCreated("source element"));
    if (CError error = configureEventSource(source.get(), input, credentials))
        return error;
    const CGstRef<GstPad> events(gst_element_get_static_pad(source.get(), "src"));
    if (!events)
        return eventStreamFailure(errors::EventObjectNotCreated("source pad"));
    gst_bin_add(GST_BIN(bin.get()), source.get());
    const auto pad = TakeFloating(gst_ghost_pad_new("src", events.get()));
    if (!pad)
        return eventStreamFailure(errors::EventObjectNotCreated("source ghostpad"));
    gst_element_add_pad(bin.get(), pad.get());

    const auto pipeline = TakeFloating(gst_pipeline_new("event-pipeline"));
    if (!pipeline)
        return eventStreamFailure(errors::EventObjectNotCreated("pipeline"));
    gst_bin_add(GST_BIN(pipeline.get()), bin.get());
    const CGstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
    auto made = std::make_unique<CEventStreamController>(pipeline.get(), bus.get(), pad.get(), source.get());
    eventSources_.set(input, source.get());
    controller = made.release();
    return CError::Success();
}

} // namespace corvane::panasonic_camera
