// The event source element: what it pushes, when, and how it ends.

#include "events/eventsynth.h"
#include "host/events.h"
#include "host/gst_object.h"

#include "tests/plugin/fake_host.h"
#include "tests/plugin/monitor_server.h"
#include "tests/plugin/stub_camera.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <tuple>

namespace corvane::vorn_event::v1_0 {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using vorn_gst::v1_0::CGstContext;
using vorn_gst::v1_0::CGstRef;
using vorn_gst::v1_0::TakeFloating;
using vorn_utility::v1_0::CDryContactMonitor;
using vorn_utility::v1_0::SMonitorTimes;

SVornEventSynth* InstanceOf(GstElement* element) {
    return reinterpret_cast<SVornEventSynth*>(element);
}

// The element in a pipeline with a sink; what passes its pad is written down.
class CPlayedElement {
public:
    explicit CPlayedElement(const std::string& address) {
        source_ = TakeFloating(CreateEventSynthSrc(CGstContext::Get(), "source"));
        pipeline_ = TakeFloating(gst_pipeline_new(nullptr));
        GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
        g_object_set(sink, "sync", FALSE, "async", FALSE, nullptr);
        gst_bin_add_many(GST_BIN(pipeline_.get()), source_.get(), sink, nullptr);
        gst_element_link(source_.get(), sink);
        const CGstRef<GstPad> pad(gst_element_get_static_pad(source_.get(), "src"));
        gst_pad_add_probe(
            pad.get(), GstPadProbeType(GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM | GST_PAD_PROBE_TYPE_BUFFER),
            [](GstPad*, GstPadProbeInfo* info, gpointer self) {
                static_cast<CPlayedElement*>(self)->add(info);
                return GST_PAD_PROBE_OK;
            },
            this, nullptr);
        g_object_set(source_.get(), "ipaddr", address.c_str(), "device-index", 2, "device-index-base", 1,
                     "max-device-index", 4, "drycontact-activestate", DCActiveHigh, nullptr);
    }
    ~CPlayedElement() { set(GST_STATE_NULL); }
    CPlayedElement(const CPlayedElement&) = delete;
    CPlayedElement& operator=(const CPlayedElement&) = delete;

    void periods(int event, int ping) {
        g_object_set(source_.get(), "event-period", event, "ping-period", ping, nullptr);
    }
    GstStateChangeReturn set(GstState state) { return gst_element_set_state(pipeline_.get(), state); }
    GstElement* source() const { return source_.get(); }
    // Waits for it; empty when none comes.
    std::string postedError() const {
        const CGstRef<GstBus> bus(gst_element_get_bus(pipeline_.get()));
        GstMessage* const message = gst_bus_timed_pop_filtered(bus.get(), 30 * GST_SECOND, GST_MESSAGE_ERROR);
        if (!message)
            return {};
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const std::string text = error->message;
        g_error_free(error);
        gst_message_unref(message);
        return text;
    }
    int state() const {
        int value = 0;
        g_object_get(source_.get(), "drycontact-state", &value, nullptr);
        return value;
    }
    std::vector<std::string> pushed() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return pushed_;
    }
    std::size_t count(const std::string& what) const {
        const std::vector<std::string> all = pushed();
        return static_cast<std::size_t>(std::count(all.begin(), all.end(), what));
    }
    bool waitFor(const std::string& what, std::size_t times = 1) const {
        return WaitUntil([&] { return count(what) >= times; });
    }

private:
    void add(GstPadProbeInfo* info) {
        std::string text;
        if (GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info); info->type & GST_PAD_PROBE_TYPE_BUFFER)
            text = "buffer of " + std::to_string(gst_buffer_get_size(buffer));
        else if (const auto event = ReadStreamEvent(GST_PAD_PROBE_INFO_EVENT(info)))
            text = event->kind == SStreamEvent::Kind::Ping          ? "ping"
                   : event->kind == SStreamEvent::Kind::EndOfStream ? "eos"
                   : event->state == DryContactActive               ? "active"
                                                                    : "inactive";
        else
            text = GST_EVENT_TYPE_NAME(GST_PAD_PROBE_INFO_EVENT(info));
        const std::lock_guard<std::mutex> lock(mutex_);
        pushed_.push_back(text);
    }

    mutable std::mutex mutex_; // guards pushed_
    std::vector<std::string> pushed_;
    CGstRef<GstElement> source_;
    CGstRef<GstElement> pipeline_;
};

// While it lives, a warning of GStreamer's ends the test.
class CFatalWarnings {
public:
    CFatalWarnings() { CGstContext::Get(); }
    ~CFatalWarnings() { g_log_set_always_fatal(before_); }
    CFatalWarnings(const CFatalWarnings&) = delete;
    CFatalWarnings& operator=(const CFatalWarnings&) = delete;

private:
    const GLogLevelFlags before_ =
        g_log_set_always_fatal(GLogLevelFlags(G_LOG_FATAL_MASK | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
};

class EventElement : public testing::Test {
protected:
    // Waits for the first request.
    void writeWhenAsked(const std::string& text) {
        ASSERT_TRUE(camera.waitForRequests(1));
        camera.write(text);
    }

    const CFatalWarnings fatalWarnings;
    CMonitorServer camera;
};

TEST_F(EventElement, PushesAtItsPeriodsBehindWhatThePadNeedsFirst) {
    CPlayedElement element(camera.address());
    element.periods(100, 1000);
    element.set(GST_STATE_PLAYING);
    writeWhenAsked("terminal2 I High\r\n");
    ASSERT_TRUE(element.waitFor("ping"));
    EXPECT_EQ(element.state(), DCStateLow); // the first: active
    camera.write("terminal2 I Low\r\n");
    ASSERT_TRUE(element.waitFor("ping", 2));
    const std::vector<std::string> pushed = element.pushed();
    EXPECT_EQ((std::vector<std::string>{pushed.begin(), pushed.begin() + 4}),
              (std::vector<std::string>{"stream-start", "segment", "buffer of 1", "active"}));
    EXPECT_EQ(element.count("buffer of 1"), 1U);
    EXPECT_EQ(element.state(), DCStateHigh);
    const auto first = std::find(pushed.begin(), pushed.end(), "ping");
    const auto second = std::find(first + 1, pushed.end(), "ping");
    EXPECT_THAT(second - first - 1, testing::AllOf(testing::Ge(6), testing::Le(14))); // ten when on time
    EXPECT_EQ(*(second - 1), "inactive");
}

TEST_F(EventElement, EachPropertyBeginsWithItsDefaultAndKeepsWhatIsSet) {
    const auto element = TakeFloating(CreateEventSynthSrc(CGstContext::Get(), "a name"));
    EXPECT_STREQ(GST_OBJECT_NAME(element.get()), "a name");
    // The last sets the first, too, which tells whether the input is active.
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"drycontact-state", "1", "1"},      {"event-mode", "1", "2"},
        {"ping-period", "3", "13"},          {"event-period", "6", "14"},
        {"device-index", "0", "15"},         {"device-index-base", "0", "16"},
        {"max-device-index", "0", "17"},     {"username", "", "u"},
        {"user-password", "", "p"},          {"ipaddr", "", "a"},
        {"drycontact-activestate", "1", "2"}};
    const auto textOf = [&element](const char* name) {
        GValue value = G_VALUE_INIT;
        g_object_get_property(G_OBJECT(element.get()), name, &value);
        const std::string text = G_VALUE_HOLDS_STRING(&value) ? g_value_get_string(&value)
                                 : G_VALUE_HOLDS_ENUM(&value) ? std::to_string(g_value_get_enum(&value))
                                                              : std::to_string(g_value_get_int(&value));
        g_value_unset(&value);
        return text;
    };
    for (const auto& [name, before, after] : cases) {
        EXPECT_EQ(textOf(name), before) << name;
        gst_util_set_object_arg(G_OBJECT(element.get()), name, after);
    }
    for (const auto& [name, before, after] : cases)
        EXPECT_EQ(textOf(name), after) << name;
}

// From the times before, not from now; no state is needed but the monitor's first reply.
TEST_F(EventElement, TimesArePlannedInMilliseconds) {
    const auto element = TakeFloating(CreateEventSynthSrc(CGstContext::Get(), "source"));
    SVornEventSynth& instance = *InstanceOf(element.get());
    instance.monitor = boost::make_shared<CDryContactMonitor>(camera.address(), "u", "p", 1, 4);
    instance.monitor->ParseAndDisperseInformation("x");
    instance.eventPeriod = 100;
    instance.pingPeriod = 7'000;
    instance.lastPingTime = 3'000'000'000;
    instance.nextEventTime = 2'000'000'000;
    instance.sendWhatIsDue(); // pushes nothing, since it is not playing
    EXPECT_EQ(instance.lastEventTime, 2'000'000'000U);
    EXPECT_EQ(instance.nextEventTime, 2'100'000'000U);
    EXPECT_EQ(instance.getNextPingTime(), 17'000'000'000U);
    instance.pingPeriod = 0;
    EXPECT_EQ(instance.getNextPingTime(), GST_CLOCK_TIME_NONE);

    instance.eventMode = EventModeRandom; // from none to twice the period
    std::vector<double> periods;
    for (int i = 0; i < 1'000; ++i) {
        instance.scheduleNextEvent();
        periods.push_back(static_cast<double>(instance.nextEventTime - instance.lastEventTime) / 1e8);
    }
    EXPECT_NEAR(std::accumulate(periods.begin(), periods.end(), 0.0) / 1'000, 1, 0.1);
    EXPECT_NEAR(*std::min_element(periods.begin(), periods.end()), 0, 0.05);
    EXPECT_NEAR(*std::max_element(periods.begin(), periods.end()), 2, 0.05);
}

TEST_F(EventElement, TheActiveLevelMayBeEither) {
    const std::tuple<int, std::string, std::string> cases[] = {
        {DCActiveLow, "", "active"}, // as it was
        {DCActiveHigh, "", "active"},      {DCActiveLow, "Low", "active"},  {DCActiveLow, "High", "inactive"},
        {DCActiveHigh, "Low", "inactive"}, {DCActiveHigh, "High", "active"}};
    for (const auto& [activeLevel, level, state] : cases) {
        CMonitorServer server;
        CPlayedElement element(server.address());
        g_object_set(element.source(), "drycontact-activestate", activeLevel, nullptr);
        element.periods(2'147'483'647, 0);
        element.set(GST_STATE_PLAYING);
        ASSERT_TRUE(server.waitForRequests(1));
        element.periods(2'147'483'647, 1);       // which counts at once
        ASSERT_TRUE(element.waitFor("ping", 3)); // and needs neither a level nor an event
        server.write("terminal2 I " + level + "\r\n");
        element.periods(1, 0);
        ASSERT_TRUE(element.waitFor(state, 2));
        EXPECT_EQ(element.state(), state == "active" ? DCStateLow : DCStateHigh);
    }
}

TEST_F(EventElement, PausedItPushesNothing) {
    CPlayedElement element(camera.address());
    element.periods(1, 3);
    EXPECT_EQ(element.set(GST_STATE_PAUSED), GST_STATE_CHANGE_NO_PREROLL); // it is live
    writeWhenAsked("terminal2 I Low\r\n");
    EXPECT_TRUE(WaitUntil([&] { return element.state() == DCStateHigh; })); // it reads the level all the same
    EXPECT_THAT(element.pushed(), IsEmpty());
    element.set(GST_STATE_PLAYING);
    EXPECT_TRUE(element.waitFor("inactive"));
}

TEST_F(EventElement, ALostLinkEndsTheStreamAndAClosedReplyDoesNot) {
    CPlayedElement element(camera.address());
    element.periods(1, 0);
    element.set(GST_STATE_PLAYING);
    writeWhenAsked("terminal2 I Low\r\n");
    ASSERT_TRUE(element.waitFor("inactive"));
    camera.closeAll();
    ASSERT_TRUE(camera.waitForRequests(2));
    EXPECT_EQ(element.count("eos"), 0U);
    camera.resetAll();
    EXPECT_TRUE(element.waitFor("eos"));
    EXPECT_TRUE(camera.waitForRequests(3)); // the monitor goes on
    EXPECT_EQ(element.count("eos"), 1U);

    CPlayedElement refused(UnusedAddress());
    refused.periods(2'147'483'647, 0);
    refused.set(GST_STATE_PLAYING);
    EXPECT_TRUE(refused.waitFor("eos"));
    EXPECT_THAT(refused.pushed(), ElementsAre("stream-start", "segment", "eos"));
}

TEST_F(EventElement, ACameraThatFallsSilentEndsTheStreamOnce) {
    std::atomic<std::time_t> clock{1'000};
    SMonitorTimes times;
    times.now = [&clock] { return clock.load(); };
    CDryContactMonitor::s_dcs[camera.address()] =
        boost::make_shared<CDryContactMonitor>(camera.address(), "u", "p", 1, 4, times);
    CPlayedElement element(camera.address());
    element.periods(1, 0);
    element.set(GST_STATE_PLAYING);
    writeWhenAsked("terminal2 I Low\r\n");
    ASSERT_TRUE(element.waitFor("inactive", 3));
    EXPECT_EQ(element.count("eos") + element.count("ping"), 0U);
    clock += 17;
    EXPECT_TRUE(element.waitFor("eos"));
    EXPECT_TRUE(camera.waitForRequests(2));
    EXPECT_EQ(element.count("eos"), 1U);
}

// Cut, it would be another camera or another user.
TEST_F(EventElement, ATextThatDoesNotFitFailsTheElementAndNothingIsSent) {
    const struct {
        const char* property;
        std::size_t most;
        const char* name;
    } cases[] = {
        {"username", 255, "user name"}, {"user-password", 255, "password"}, {"ipaddr", 31, "address"}};
    for (const auto& c : cases) {
        CPlayedElement element(camera.address());
        const auto set = [&](const std::string& text) {
            g_object_set(element.source(), c.property, text.c_str(), nullptr);
            gchar* kept = nullptr;
            g_object_get(element.source(), c.property, &kept, nullptr);
            const std::string result = kept;
            g_free(kept);
            return result;
        };
        EXPECT_EQ(set(std::string(c.most, 'x')), std::string(c.most, 'x'));
        EXPECT_EQ(set(camera.address() + std::string(c.most, '0')), "");
        element.set(GST_STATE_PLAYING);
        EXPECT_EQ(element.postedError(), "the alarm input cannot be watched: the camera's " +
                                             std::string(c.name) + " is longer than the " +
                                             std::to_string(c.most) +
                                             " characters that fit into an event source");
        element.set(GST_STATE_NULL);
    }
    EXPECT_EQ(camera.requestCount(), 0U);

    CPlayedElement otherUser(camera.address()); // HTTP ends a name there
    g_object_set(otherUser.source(), "username", "us:er", nullptr);
    otherUser.set(GST_STATE_PLAYING);
    EXPECT_THAT(otherUser.postedError(), testing::HasSubstr("the camera's user name has a colon in it"));
    EXPECT_EQ(camera.requestCount(), 0U);

    CPlayedElement element(camera.address()); // what is set to one that fits has not been said
    g_object_set(element.source(), "username", std::string(256, 'x').c_str(), nullptr);
    g_object_set(element.source(), "username", "admin", nullptr);
    element.set(GST_STATE_PLAYING);
    EXPECT_TRUE(camera.waitForRequests(1));
}

TEST_F(EventElement, WhenOneStopsTheOthersGoOnAndTheNextHasAMonitorOfItsOwn) {
    SMonitorTimes times;
    times.now = [] { return std::time_t{1'000}; }; // no heartbeat is ever missed
    CDryContactMonitor::s_dcs[camera.address()] =
        boost::make_shared<CDryContactMonitor>(camera.address(), "u", "p", 1, 4, times);
    CPlayedElement older(camera.address());
    CPlayedElement newer(camera.address());
    CPlayedElement ofAnotherInput(camera.address());
    g_object_set(ofAnotherInput.source(), "device-index", 3, nullptr);
    for (CPlayedElement* const element : {&older, &newer, &ofAnotherInput}) {
        element->periods(1, 0);
        element->set(GST_STATE_PLAYING);
        ASSERT_TRUE(WaitUntil([&] { // the level is forgotten when it begins to listen
            camera.write("terminal2 I Low\r\nterminal3 I Low\r\n");
            return element->count("inactive") > 0;
        }));
    }
    EXPECT_EQ(camera.requestCount(), 1U);
    const std::size_t before = newer.count("active");
    ASSERT_TRUE(WaitUntil([&] {
        camera.write("terminal2 I High\r\n"); // which is no end to whoever is told
        return newer.count("active") > before;
    }));
    older.set(GST_STATE_NULL);
    EXPECT_EQ(newer.count("eos"), 0U);
    const auto hooks = [](auto use) { // which are reserved
        const boost::lock_guard<boost::mutex> lock(CDryContactMonitor::s_mutex);
        use(CDryContactMonitor::s_strDryContactStatusUrl, CDryContactMonitor::s_funGetDryContactStatus);
    };
    hooks([](auto& url, auto& function) {
        url = "x";
        function = vorn_utility::v1_0::funGetDryContactStatusfromResponse;
    });
    CPlayedElement next(camera.address());
    next.set(GST_STATE_PLAYING);
    ASSERT_TRUE(camera.waitForRequests(2));
    hooks([](auto& url, auto& function) { EXPECT_TRUE(url.empty() && !function); });
    camera.resetAll();
    EXPECT_TRUE(newer.waitFor("eos"));
    EXPECT_TRUE(ofAnotherInput.waitFor("eos"));
}

TEST_F(EventElement, ATickThatWasGivenUpSendsNothing) {
    for (int i = 0; i < 5; ++i) {
        CMonitorServer silent;
        CPlayedElement element(silent.address());
        element.periods(1, 0);
        element.set(GST_STATE_PLAYING);
        ASSERT_TRUE(silent.waitForRequests(1)); // and the first tick waits for a level
        element.set(GST_STATE_READY);
        EXPECT_THAT(element.pushed(), IsEmpty());
        element.set(GST_STATE_PLAYING);
        silent.write("terminal2 I Low\r\n");
        ASSERT_TRUE(element.waitFor("inactive"));
        EXPECT_EQ(element.pushed()[2], "buffer of 1");
    }
}

// As when there was no thread for its listener.
TEST_F(EventElement, OneThatCouldNotListenLeavesTheOthersAndTheRegistryForgetsItsMonitor) {
    const auto monitor = boost::make_shared<CDryContactMonitor>(camera.address(), "u", "p", 1, 4);
    std::atomic<bool> heard{false};
    const auto other = monitor->StartMonitor(1, [&](CDryContactMonitor::TDryContactState) { heard = true; });
    CDryContactMonitor::s_dcs[camera.address()] = monitor;
    const auto element = TakeFloating(CreateEventSynthSrc(CGstContext::Get(), "source"));
    SVornEventSynth* const instance = InstanceOf(element.get());
    instance->monitor = monitor;
    instance->subscribedIndex = 1;
    instance->cleanup();
    EXPECT_EQ(CDryContactMonitor::s_dcs[camera.address()], nullptr);
    ASSERT_TRUE(camera.waitForRequests(1));
    camera.resetAll();
    EXPECT_TRUE(WaitUntil([&] { return heard.load(); }));
    monitor->StopMonitor(1, other);
}

TEST_F(EventElement, ReadyAndBackItBeginsTheStreamAnew) {
    CPlayedElement element(camera.address());
    element.periods(1, 0);
    element.set(GST_STATE_PLAYING);
    writeWhenAsked("terminal2 I Low\r\n");
    ASSERT_TRUE(element.waitFor("inactive"));
    element.set(GST_STATE_READY);
    camera.resetAll(); // a lost link that nobody can be told
    ASSERT_TRUE(camera.waitForRequests(2));
    const std::size_t before = element.count("inactive");
    element.set(GST_STATE_PLAYING);
    ASSERT_TRUE(element.waitFor("inactive", before + 1));
    EXPECT_EQ(element.count("stream-start"), 2U);
    EXPECT_EQ(element.count("segment"), 2U);
    EXPECT_EQ(element.count("buffer of 1"), 1U);
}

TEST_F(EventElement, ItIsUsedOnce) {
    CPlayedElement element(camera.address());
    element.set(GST_STATE_PAUSED);
    element.set(GST_STATE_NULL);
    EXPECT_EQ(gst_element_set_state(element.source(), GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
    const CGstRef<GstPad> pad(gst_element_get_static_pad(element.source(), "src"));
    EXPECT_FALSE(
        gst_pad_activate_mode(pad.get(), GST_PAD_MODE_PULL, TRUE)); // nor does it let itself be asked
}

TEST_F(EventElement, ItIsTakenDownInEveryPhase) {
    const CThreadCheck threads;
    CMonitorServer silent(CMonitorServer::Greeting::Silence);
    const CDeafAddress deaf;
    const std::string addresses[] = {camera.address(), silent.address(), deaf.address(), UnusedAddress()};
    std::mt19937 random(1);
    for (int i = 0; i < 1'000; ++i) {
        CPlayedElement element(addresses[random() % 4]);
        CPlayedElement other(camera.address());
        for (CPlayedElement* const played : {&element, &other}) {
            played->periods(random() % 2 == 0 ? 1 : 2'147'483'647, random() % 3 == 0 ? 0 : 1);
            played->set(random() % 4 == 0 ? GST_STATE_PAUSED : GST_STATE_PLAYING);
        }
        if (random() % 2 == 0)
            camera.write("terminal2 I High\r\n");
        if (random() % 8 == 0)
            camera.resetAll();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3'000)); // any phase
    }
    gst_task_cleanup_all(); // the threads that GStreamer keeps for later tasks
}

} // namespace
} // namespace corvane::vorn_event::v1_0
