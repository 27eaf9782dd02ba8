// The camera's alarm-input operations: what each sends and answers, and the stream that it builds.

#include "host/event_stream_controller.h"
#include "host/gst_object.h"
#include "tests/plugin/camera_bench.h"
#include "tests/plugin/curl_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using vorn_event_stream_controller::v1_0::CEventStreamController;
using vorn_gst::v1_0::CGstRef;

SModelInfo Model() {
    SModelInfo model;
    model.number = "A1";
    model.indexBase = {{78, 1}};
    return model;
}

constexpr const char* ThreeInputs =
    "\r\nvideo_server.peripheral.io.number=3\r\nvideo_server.peripheral.io.trm1=alm_in\r\n"
    "video_server.peripheral.io.trm2=alm_in\r\nvideo_server.peripheral.io.trm3=alm_in\r\n";

class AlarmInputs : public CCameraBench {
protected:
    AlarmInputs() : CCameraBench({Model()}) {
        for (const char* name : {"jpeg_alarm", "terminal_default"})
            stub.reply("/cgi-bin/" + std::string(name), HttpOk("OK"));
        bringUpWith(ThreeInputs);
    }
    void bringUpWith(const std::string& capability) {
        bringUp("A1", {{"ATRMIN", "1"}, {"ATRMIN2", "0"}}, capability);
    }
    // What one call answers, and what it sends.
    std::string outcome(const char* operation, const std::vector<std::string>& arguments) {
        const Requests sent = call(operation, arguments);
        std::string text = answer.error->getText() + testing::PrintToString(answer.values);
        for (const std::string& request : sent)
            text += "; " + request;
        return text;
    }
    std::unique_ptr<CEventStreamController> stream(int input) {
        IStreamController* made = nullptr;
        EXPECT_FALSE(camera->createEventStreamPipeline(made, input));
        return std::unique_ptr<CEventStreamController>(dynamic_cast<CEventStreamController*>(made));
    }
};

TEST_F(AlarmInputs, ACameraWithoutThemSaysSo) {
    bringUpWith("x");
    EXPECT_EQ(outcome("getDryContactInputProperties", {}), R"({ "DryContactInputProperties" })");
    for (const auto& [operation, arguments] :
         {std::pair<const char*, std::vector<std::string>>("getDryContactInputCount", {}),
          {"setDryContactInputActiveState", {"0", "LOW"}},
          {"getDryContactInputActiveState", {"0"}},
          {"getDryContactInputState", {"0"}}}) {
        EXPECT_THAT(answered(operation, arguments), ElementsAre("7 3 property not found")) << operation;
    }
    IStreamController* made = nullptr;
    EXPECT_EQ(Told(camera->createEventStreamPipeline(made, 0)), "7 3 property not found");
    EXPECT_EQ(made, nullptr);
}

TEST_F(AlarmInputs, AlarmsAreEnabledBeforeWhatIsAsked) {
    EXPECT_EQ(outcome("getDryContactInputCount", {}), R"({ "3" })");
    EXPECT_THAT(answered("getDryContactInputProperties", {}),
                ElementsAre("DryContactInputProperties", "DryContactInputCount", "DryContactInputActiveState",
                            "DryContactInputState"));
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"0", "LOW"}), "{}; terminal_default input1=no");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"1", "LOW"}),
              "{}; jpeg_alarm trm_alarm2=1; terminal_default input2=no");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"2", "low"}),
              "{}; jpeg_alarm trm_alarm3=1; terminal_default input3=nc");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"3", "HIGH"}), "{}; terminal_default input4=nc");
    EXPECT_EQ(outcome("getDryContactInputActiveState", {"2"}), R"({ "LOW" }; jpeg_alarm trm_alarm3=1)");
    EXPECT_EQ(outcome("getDryContactInputActiveState", {"-1"}), R"({ "LOW" })");
    EXPECT_EQ(outcome("getEventStreamUrl", {"2"}),
              "{ \"http://" + stub.address() + "/cgi-bin/get_io?mode=monitor\" }");
    for (const char* const path : {"jpeg_alarm", "terminal_default"})
        stub.reply("/cgi-bin/" + std::string(path), HttpReply(500)); // which is not passed on
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"1", "LOW"}),
              "{}; jpeg_alarm trm_alarm2=1; terminal_default input2=no");
}

TEST_F(AlarmInputs, EachHasItsOwnKeysAndTerminal) {
    const std::string numbers[] = {"", "2", "3"};
    for (int one = 0; one < 3; ++one) { // alone is enabled, not normally open, and high
        Settings reported;
        for (const std::string& number : numbers) {
            reported["ATRMIN" + number] = number == numbers[one] ? "1" : "2";
            reported["AINMODE" + number] = number != numbers[one] ? "no" : one == 2 ? "other" : "nc";
        }
        bringUp("A1", reported, ThreeInputs);
        stub.reply("/cgi-bin/get_io", HttpOk("terminal " + std::to_string(one + 1) + ": High\r\n"));
        for (int input = 0; input < 3; ++input) {
            const std::string number = std::to_string(input);
            const std::string enabling = input == one ? "" : "; jpeg_alarm trm_alarm" + numbers[input] + "=1";
            EXPECT_EQ(outcome("CheckAndSetAlarm", {number}), "{}" + enabling);
            EXPECT_EQ(outcome("getDryContactInputActiveState", {number}),
                      (input == one ? R"({ "HIGH")" : R"({ "LOW")") +
                          std::string(R"(, "LOW", "LOW", "HIGH" })") + enabling);
            EXPECT_EQ(outcome("getDryContactInputState", {number}),
                      (input == one ? R"({ "1" })" : R"({ "2" })") + enabling + "; get_io?command=all");
            EXPECT_EQ(refreshes("CheckAndSetAlarm", {number}), input != one);
            EXPECT_TRUE(refreshes("setDryContactInputActiveState", {number, "LOW"}));
        }
    }
}

TEST_F(AlarmInputs, TheStateIsReadFromItsTerminalsLine) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal 1: Low\r\nterminal 2: xHighx\r\nterminal 4: High\r\n"));
    EXPECT_EQ(outcome("getDryContactInputState", {"0"}), R"({ "2" }; get_io?command=all)");
    EXPECT_EQ(outcome("getDryContactInputState", {"1"}),
              R"({ "1" }; jpeg_alarm trm_alarm2=1; get_io?command=all)");
    EXPECT_EQ(CurlOption("/cgi-bin/get_io?command=all", CURLOPT_TIMEOUT_MS), "4");
    for (const char* const input : {"2", "3", "-1"}) // no line; not one of the three
        EXPECT_THAT(outcome("getDryContactInputState", {input}), testing::StartsWith(R"({ "2" })")) << input;
    stub.reply("/cgi-bin/get_io", HttpReply(500));
    EXPECT_EQ(outcome("getDryContactInputState", {"0"}), R"({ "2" }; get_io?command=all)");
    EXPECT_THAT(device->logLines(), testing::Contains(testing::StartsWith("3 alarm inputs: ")));
}

TEST_F(AlarmInputs, AStreamIsBuiltFromTheInputsNumbersAndTheDevicesCredentials) {
    device->setAuthentication({"us:er", "p@ss"});
    const auto controller = stream(1);
    const CGstRef<GstElement> source(controller->refEventSource());
    gint values[7] = {};
    gchar* texts[3] = {};
    g_object_get(source.get(), "drycontact-activestate", &values[0], "event-mode", &values[1], "event-period",
                 &values[2], "ping-period", &values[3], "device-index", &values[4], "device-index-base",
                 &values[5], "max-device-index", &values[6], "username", &texts[0], "user-password",
                 &texts[1], "ipaddr", &texts[2], nullptr);
    EXPECT_THAT(values, ElementsAre(2, 1, 100, 1000, 2, 1, 4));
    gchar* const path = gst_object_get_path_string(GST_OBJECT(source.get()));
    EXPECT_STREQ(path, "/GstPipeline:event-pipeline/GstBin:srcbin/VornEventSynth:source");
    g_free(path);
    EXPECT_THAT(texts,
                ElementsAre(testing::StrEq("us:er"), testing::StrEq("p@ss"), testing::StrEq(stub.address())));
    for (gchar* const text : texts)
        g_free(text);

    IStreamController* none = nullptr;
    EXPECT_NE(stream(-1), nullptr); // the model's inputs begin at 1: this one is 0
    EXPECT_EQ(camera->createEventStreamPipeline(none, -2).getText(), "property not found");
    device->setAuthentication({std::string(256, 'u'), "p"}); // which would be another user, cut
    EXPECT_EQ(stream(0)->start().getCode(), 1);

    device->setAuthentication({});
    EXPECT_EQ(Told(camera->createEventStreamPipeline(none, 0)), "10 3 Unable to get Authentication data");
}

TEST_F(AlarmInputs, WhatGStreamerCannotMakeIsToldAndLogged) {
    (void)stream(0); // registers the source
    const std::pair<const char*, std::string> cases[] = {
        {"bin", "source bin"}, {"vorn_eventsynth", "source element"}, {"pipeline", "pipeline"}};
    for (const auto& [name, object] : cases) {
        GstRegistry* const all = gst_registry_get();
        const CGstRef<GstPluginFeature> feature(gst_registry_lookup_feature(all, name));
        gst_registry_remove_feature(all, feature.get());
        IStreamController* none = nullptr;
        const std::string text = "Event " + object + " could not be created.";
        EXPECT_EQ(Told(camera->createEventStreamPipeline(none, 0)), "2 3 " + text);
        EXPECT_THAT(device->logLines(), testing::Contains("3 " + text));
        gst_registry_add_feature(all, GST_PLUGIN_FEATURE(gst_object_ref(feature.get())));
    }
}

TEST_F(AlarmInputs, ALiveStreamAnswersForItsInput) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal 1: Low\r\n"));
    auto first = stream(0);
    EXPECT_EQ(outcome("getDryContactInputState", {"0"}), R"({ "1" })"); // as the element begins
    const auto second = stream(0);                                      // takes the first one's place
    const CGstRef<GstElement> source(second->refEventSource());
    g_object_set(source.get(), "drycontact-state", 1, nullptr); // low
    EXPECT_EQ(outcome("getDryContactInputState", {"0"}), R"({ "2" })");
    first.reset();
    EXPECT_EQ(outcome("getDryContactInputState", {"0"}), R"({ "2" })");
    const auto third = stream(0);
    first = stream(1);
    EXPECT_EQ(outcome("getDryContactInputState", {"1"}), R"({ "1" }; jpeg_alarm trm_alarm2=1)");
    first.reset();
    EXPECT_THAT(outcome("getDryContactInputState", {"1"}), testing::HasSubstr("get_io"));
}

TEST_F(AlarmInputs, EventsReachTheObserverAndTheEndTheController) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal1 I High\r\n")); // and the reply is over
    stub.demandCredentials();
    const auto controller = stream(0);
    std::mutex mutex;
    std::vector<SStreamEvent> events;
    controller->setEventObserver([&](const SStreamEvent& event) {
        const std::lock_guard<std::mutex> lock(mutex);
        events.push_back(event);
    });
    ASSERT_FALSE(controller->start());
    EXPECT_TRUE(WaitUntil([&] {
        const std::lock_guard<std::mutex> lock(mutex);
        return !events.empty();
    }));
    EXPECT_EQ(stub.requests("/cgi-bin/get_io")[0].authorization, "Basic YWRtaW46MTIzNDU="); // admin:12345
    stub.reply("/cgi-bin/get_io", ""); // from the next request on the connection breaks
    const auto end = controller->waitForEnd(std::chrono::seconds(30));
    ASSERT_TRUE(end);
    EXPECT_EQ(end->cause, SStreamEnd::Cause::EndOfStream);
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(events.front().kind, SStreamEvent::Kind::DryContactState);
    EXPECT_EQ(events.front().state, DryContactActive);
    EXPECT_EQ(events.back().kind, SStreamEvent::Kind::EndOfStream);
    EXPECT_TRUE(std::is_sorted(events.begin(), events.end(),
                               [](const auto& a, const auto& b) { return a.time < b.time; }));
}

TEST_F(AlarmInputs, EventsDoWithoutBasicWhereTheHostRefusesIt) {
    stub.reply("/cgi-bin/get_io", "HTTP/1.1 401 x\r\nWWW-Authenticate: Basic realm=\"c\"\r\n"
                                  "Content-Length: 0\r\nConnection: close\r\n\r\n");
    for (const bool isRefused : {true, false}) {
        CAuthentication credentials("admin", "12345");
        if (isRefused)
            credentials.refuseBasic();
        device->setAuthentication(credentials);
        const std::size_t before = stub.requests("/cgi-bin/get_io").size();
        const auto controller = stream(0);
        ASSERT_FALSE(controller->start());
        ASSERT_TRUE(controller->waitForEnd(std::chrono::seconds(30)));
        controller->stop();
        std::vector<std::string> shown;
        for (const auto& request : stub.requests("/cgi-bin/get_io"))
            shown.push_back(request.authorization);
        shown.erase(shown.begin(), shown.begin() + static_cast<std::ptrdiff_t>(before));
        EXPECT_EQ(std::count(shown.begin(), shown.end(), ""), isRefused ? shown.size() : 1);
        EXPECT_THAT(device->logLines(),
                    testing::Contains("2 alarm inputs: the camera offers Basic authentication alone")
                        .Times(isRefused ? 1 : 2));
    }
}

} // namespace
} // namespace corvane::panasonic_camera
