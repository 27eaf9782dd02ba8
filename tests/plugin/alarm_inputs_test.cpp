// The camera's alarm-input operations: what each sends and answers, and the stream that it builds.

#include "camera/panasonic_camera.h"

#include "host/event_stream_controller.h"
#include "host/gst_object.h"
#include "host/operations.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using vorn_event_stream_controller::v1_0::CEventStreamController;
using vorn_gst::v1_0::CGstRef;

class AlarmInputs : public testing::Test {
protected:
    AlarmInputs() {
        SModelInfo model;
        model.number = "A1";
        model.indexBase = {{78, 1}};
        models = boost::make_shared<CVornModelList>(Request("/test", "NAME="), std::vector<SFamily>(),
                                                    std::map<std::string, SQueryDevice>(),
                                                    CVornModelList::ModelMap{{"A1", model}});
        stub.reply("/test", HttpOk("NAME=PX-A1\r\n"));
        stub.reply("/cgi-bin/setdata", HttpOk("\r\nATRMIN,\"1\"\r\nATRMIN2,\"0\"\r\nAINMODE,\"no\"\r\n"
                                              "AINMODE2,\"nc\"\r\nAINMODE3,\"\"\r\n"));
        for (const char* name : {"jpeg_alarm", "terminal_default"})
            stub.reply("/cgi-bin/" + std::string(name), HttpOk("OK"));
        bringUp("\r\nvideo_server.peripheral.io.number=3\r\nvideo_server.peripheral.io.trm1=alm_in\r\n"
                "video_server.peripheral.io.trm2=alm_in\r\nvideo_server.peripheral.io.trm3=alm_in\r\n");
    }
    void bringUp(const std::string& capability) {
        camera.reset();
        stub.reply("/cgi-bin/get_capability", HttpOk(capability));
        boost::shared_ptr<IDeviceContext> context = device;
        camera.emplace(context, stub.address().c_str(), models, "A1");
        EXPECT_FALSE(camera->initialize());
        registry.emplace();
        camera->registerOperations(*registry);
        camera->GetImageMode(); // after the first dump
    }
    // What one call answers, and what it sends beside the dumps.
    std::string call(const char* operation, const std::vector<std::string>& arguments) {
        const std::size_t before = stub.requests().size();
        SAnswer answer;
        registry->call(operation, arguments, [&answer](const SAnswer& given) { answer = given; });
        std::string text = answer.error->getText() + testing::PrintToString(answer.values);
        const std::vector<SStubRequest> all = stub.requests();
        for (std::size_t i = before; i < all.size(); ++i)
            if (all[i].target != "/cgi-bin/setdata")
                text += " " + all[i].target.substr(std::string("/cgi-bin/").size()) +
                        (all[i].body.empty() ? "" : "?" + all[i].body);
        return text;
    }
    std::unique_ptr<CEventStreamController> stream(int input) {
        IStreamController* made = nullptr;
        EXPECT_FALSE(camera->createEventStreamPipeline(made, input));
        return std::unique_ptr<CEventStreamController>(dynamic_cast<CEventStreamController*>(made));
    }

    CStubCamera stub;
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    boost::shared_ptr<CVornModelList> models;
    std::optional<CPanasonicCamera> camera;
    std::optional<COperationRegistry> registry;
};

TEST_F(AlarmInputs, ACameraWithoutThemSaysSo) {
    bringUp("x");
    EXPECT_EQ(call("getDryContactInputProperties", {}), R"({ "DryContactInputProperties" })");
    for (const auto& [operation, arguments] :
         {std::pair<const char*, std::vector<std::string>>("getDryContactInputCount", {}),
          {"setDryContactInputActiveState", {"0", "LOW"}},
          {"getDryContactInputActiveState", {"0"}},
          {"getDryContactInputState", {"0"}}}) {
        SAnswer answer;
        registry->call(operation, arguments, [&answer = answer](const SAnswer& given) { answer = given; });
        EXPECT_EQ(answer.error->getCode(), 7) << operation;
        EXPECT_EQ(answer.error->getOrigin(), 3) << operation;
        EXPECT_EQ(answer.error->getText(), "property not found") << operation;
    }
    IStreamController* made = nullptr;
    EXPECT_EQ(camera->createEventStreamPipeline(made, 0).getText(), "property not found");
    EXPECT_EQ(made, nullptr);
}

TEST_F(AlarmInputs, AlarmsAreEnabledBeforeWhatIsAsked) {
    EXPECT_EQ(call("getDryContactInputCount", {}), R"({ "3" })");
    EXPECT_EQ(call("setDryContactInputActiveState", {"0", "LOW"}), "{} terminal_default?input1=no");
    EXPECT_EQ(call("setDryContactInputActiveState", {"1", "LOW"}),
              "{} jpeg_alarm?trm_alarm2=1 terminal_default?input2=no");
    EXPECT_EQ(call("setDryContactInputActiveState", {"2", "low"}),
              "{} jpeg_alarm?trm_alarm3=1 terminal_default?input3=nc");
    EXPECT_EQ(call("setDryContactInputActiveState", {"3", "HIGH"}), "{} terminal_default?input4=nc");
    EXPECT_EQ(call("getDryContactInputActiveState", {"0"}), R"({ "LOW", "LOW", "LOW", "HIGH" })");
    EXPECT_EQ(call("getDryContactInputActiveState", {"1"}),
              R"({ "HIGH", "LOW", "LOW", "HIGH" } jpeg_alarm?trm_alarm2=1)");
    EXPECT_EQ(call("getDryContactInputActiveState", {"2"}), R"({ "LOW" } jpeg_alarm?trm_alarm3=1)");
    EXPECT_EQ(call("getDryContactInputActiveState", {"-1"}), R"({ "LOW" })");
    EXPECT_EQ(call("getEventStreamUrl", {"2"}),
              "{ \"http://" + stub.address() + "/cgi-bin/get_io?mode=monitor\" }");
}

TEST_F(AlarmInputs, TheStateIsReadFromItsTerminalsLine) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal 1: Low\r\nterminal 2: xHighx\r\nterminal 4: High\r\n"));
    EXPECT_EQ(call("getDryContactInputState", {"0"}), R"({ "2" } get_io?command=all)");
    EXPECT_EQ(call("getDryContactInputState", {"1"}),
              R"({ "1" } jpeg_alarm?trm_alarm2=1 get_io?command=all)");
    for (const char* const input : {"2", "3", "-1"}) // no line; not one of the three
        EXPECT_THAT(call("getDryContactInputState", {input}), testing::StartsWith(R"({ "2" })")) << input;
    stub.reply("/cgi-bin/get_io", HttpReply(500));
    EXPECT_EQ(call("getDryContactInputState", {"0"}), R"({ "2" } get_io?command=all)");
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
    device->setAuthentication({std::string(256, 'u'), "p"});
    stream(0);
    EXPECT_THAT(device->logLines(),
                testing::Contains("3 event source: the username is too long and was cut"));

    device->setAuthentication({});
    IStreamController* made = nullptr;
    const CError error = camera->createEventStreamPipeline(made, 0);
    EXPECT_EQ(error.getCode(), 10);
    EXPECT_EQ(error.getText(), "Unable to get Authentication data");
}

TEST_F(AlarmInputs, ALiveStreamAnswersForItsInput) {
    stub.reply("/cgi-bin/get_io", HttpOk("terminal 1: Low\r\n"));
    auto first = stream(0);
    EXPECT_EQ(call("getDryContactInputState", {"0"}), R"({ "1" })"); // as the element begins
    const auto second = stream(0);                                   // takes the first one's place
    const CGstRef<GstElement> source(second->refEventSource());
    g_object_set(source.get(), "drycontact-state", 1, nullptr); // low
    EXPECT_EQ(call("getDryContactInputState", {"0"}), R"({ "2" })");
    first.reset();
    EXPECT_EQ(call("getDryContactInputState", {"0"}), R"({ "2" })");
    const auto third = stream(0);
    first = stream(1);
    first.reset();
    EXPECT_THAT(call("getDryContactInputState", {"1"}), testing::HasSubstr("get_io"));
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
