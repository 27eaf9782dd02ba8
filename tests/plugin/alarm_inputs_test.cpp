// The camera's alarm-input operations: what each sends and answers, and the stream that it builds.

#include "host/event_stream_controller.h"
#include "host/gst_object.h"
#include "tests/plugin/camera_bench.h"

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

class AlarmInputs : public CCameraBench {
protected:
    AlarmInputs() : CCameraBench({Model()}) {
        for (const char* name : {"jpeg_alarm", "terminal_default"})
            stub.reply("/cgi-bin/" + std::string(name), HttpOk("OK"));
        bringUpWith("\r\nvideo_server.peripheral.io.number=3\r\nvideo_server.peripheral.io.trm1=alm_in\r\n"
                    "video_server.peripheral.io.trm2=alm_in\r\nvideo_server.peripheral.io.trm3=alm_in\r\n");
    }
    void bringUpWith(const std::string& capability) {
        bringUp("A1",
                {{"ATRMIN", "1"}, {"ATRMIN2", "0"}, {"AINMODE", "no"}, {"AINMODE2", "nc"}, {"AINMODE3", ""}},
                capability);
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
    EXPECT_EQ(camera->createEventStreamPipeline(made, 0).getText(), "property not found");
    EXPECT_EQ(made, nullptr);
}

TEST_F(AlarmInputs, AlarmsAreEnabledBeforeWhatIsAsked) {
    EXPECT_EQ(outcome("getDryContactInputCount", {}), R"({ "3" })");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"0", "LOW"}), "{}; terminal_default input1=no");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"1", "LOW"}),
              "{}; jpeg_alarm trm_alarm2=1; terminal_default input2=no");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"2", "low"}),
              "{}; jpeg_alarm trm_alarm3=1; terminal_default input3=nc");
    EXPECT_EQ(outcome("setDryContactInputActiveState", {"3", "HIGH"}), "{}; terminal_default input4=nc");
    EXPECT_EQ(outcome("getDryContactInputActiveState", {"0"}), R"({ "LOW", "LOW", "LOW", "HIGH" })");
    EXPECT_EQ(outcome("getDryContactInputActiveState", {"1"}),
              R"({ "HIGH", "LOW", "LOW", "HIGH" }; jpeg_alarm trm_alarm2=1)");
    EXPECT_EQ(outcome("getDryContactInputActiveState", {"2"}), R"({ "LOW" }; jpeg_alarm trm_alarm3=1)");
    EXPECT_EQ(outcome("getDryContactInputActiveState", {"-1"}), R"({ "LOW" })");
    EXPECT_EQ(outcome("getEventStreamUrl", {"2"}),
              "{ \"http://" + stub.address() + "/cgi-bin/get_io?mode=monitor\" }");
}

TEST_F(AlarmInputs, TheStateIsReadFromItsTerminalsLine) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal 1: Low\r\nterminal 2: xHighx\r\nterminal 4: High\r\n"));
    EXPECT_EQ(outcome("getDryContactInputState", {"0"}), R"({ "2" }; get_io?command=all)");
    EXPECT_EQ(outcome("getDryContactInputState", {"1"}),
              R"({ "1" }; jpeg_alarm trm_alarm2=1; get_io?command=all)");
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
    EXPECT_THAT(texts,
                ElementsAre(testing::StrEq("us:er"), testing::StrEq("p@ss"), testing::StrEq(stub.address())));
    for (gchar* const text : texts)
        g_free(text);

    IStreamController* none = nullptr;
    EXPECT_EQ(camera->createEventStreamPipeline(none, -2).getText(), "property not found");
    device->setAuthentication({std::string(256, 'u'), "p"}); // which would be another user, cut
    EXPECT_EQ(stream(0)->start().getCode(), 1);

    device->setAuthentication({});
    IStreamController* made = nullptr;
    const CError error = camera->createEventStreamPipeline(made, 0);
    EXPECT_EQ(error.getCode(), 10);
    EXPECT_EQ(error.getText(), "Unable to get Authentication data");
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
    first.reset();
    EXPECT_THAT(outcome("getDryContactInputState", {"1"}), testing::HasSubstr("get_io"));
}

TEST_F(AlarmInputs, EventsReachTheObserverAndTheEndTheController) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal1 I High\r\n")); // and the reply is over
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

} // namespace
} // namespace corvane::panasonic_camera
