#include "camera/panasonic_camera.h"

#include "tests/plugin/curl_options.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* AuthenticationTest = "/test";
constexpr const char* GetCapability = "/cgi-bin/get_capability";
constexpr const char* Initial = "/cgi-bin/initial";
constexpr const char* NotSet = "16 3 Authentication is not set !";

class Camera : public testing::Test {
protected:
    Camera() {
        stub.reply(AuthenticationTest, HttpOk("NAME=PX-A10\r\n"));
        stub.reply(Setdata, HttpOk("CAMTITLE,\"one\"\r\nCAMTITLE2,\"two\"\r\nCAMTITLE4,\"four\"\r\n"
                                   "CAMTITLE6,\"six\"\r\nLIVEINTCH5,\"7\"\r\n"));
        stub.reply(GetCapability, HttpOk("video_server.image.mode=4_3\r\n"));
        stub.reply("/cgi-bin/getinfo", HttpOk("MAC=00:11\r\nVERSION=4.3\r\n"));
        stub.reply(Initial, HttpOk("OK"));
        make("A10");
    }
    void make(const char* modelNumber) {
        boost::shared_ptr<IDeviceContext> context = device;
        camera.emplace(context, stub.address().c_str(), modelList, modelNumber);
    }
    // The paths of the requests that have come since the last call.
    std::vector<std::string> newPaths() {
        const std::vector<SStubRequest> all = stub.requests();
        std::vector<std::string> paths;
        for (; told < all.size(); ++told)
            paths.push_back(all[told].target);
        return paths;
    }
    std::vector<std::string> titles(int index) {
        std::vector<CString> values{"before"};
        EXPECT_FALSE(camera->getCameraName(index, values));
        std::vector<std::string> texts;
        for (const CString& value : values)
            texts.push_back(value.str());
        return texts;
    }

    CThreadCheck threadCheck;
    CStubCamera stub;
    std::size_t told = 0;
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    boost::shared_ptr<CVornModelList> modelList =
        ModelList({{"B", "", ""}, {"A", "", ""}}, {{"A10", "A"}, {"B10", "B"}}, 6);
    std::optional<CPanasonicCamera> camera;
};

TEST_F(Camera, ComesUpWithTheTestThenTheSettingsBesideTheCapability) {
    stub.hold(Setdata); // nobody waits for it
    EXPECT_TRUE(camera->customInitialize());
    for (const char* const path : {AuthenticationTest, GetCapability})
        EXPECT_EQ(CurlOption(path, CURLOPT_TIMEOUT_MS), "4") << path;
    ASSERT_TRUE(stub.waitForRequests(Setdata, 1));
    const std::vector<std::string> paths = newPaths();
    EXPECT_EQ(paths.front(), AuthenticationTest);
    EXPECT_THAT(paths, UnorderedElementsAre(AuthenticationTest, Setdata, GetCapability));
    stub.letGoAll(Setdata);
}

TEST_F(Camera, ARepeatedInitialisationMakesOnlyWhatIsMissing) {
    for (const std::string& failure : {HttpReply(500, "x"), HttpOk(""), std::string()}) {
        stub.reply(GetCapability, failure);
        EXPECT_FALSE(camera->customInitialize());
        ASSERT_TRUE(stub.waitForRequests(Setdata, 1));
    }
    EXPECT_EQ(titles(0)[1], "one"); // the settings are there
    newPaths();
    stub.reply(GetCapability, HttpOk("x"));
    EXPECT_TRUE(camera->customInitialize());
    EXPECT_THAT(newPaths(), ElementsAre(AuthenticationTest, GetCapability));
    EXPECT_TRUE(camera->customInitialize());
    EXPECT_THAT(newPaths(), ElementsAre(AuthenticationTest));
    EXPECT_EQ(stub.requests(Setdata).size(), 1u);

    // Another camera of the same device has objects of its own.
    make("A10");
    EXPECT_TRUE(camera->customInitialize());
    ASSERT_TRUE(stub.waitForRequests(Setdata, 2));
    EXPECT_THAT(newPaths(), UnorderedElementsAre(AuthenticationTest, Setdata, GetCapability));
}

TEST_F(Camera, WithoutAuthenticationNothingElseIsAsked) {
    for (const std::string& failure : {HttpReply(401), HttpReply(500), std::string()}) {
        stub.reply(AuthenticationTest, failure);
        EXPECT_EQ(Told(camera->testAuthentication()), "10 3 Bad Authentication");
        EXPECT_FALSE(camera->customInitialize());
        EXPECT_THAT(newPaths(), ElementsAre(AuthenticationTest, AuthenticationTest));
    }
    device->setAuthentication({});
    EXPECT_EQ(Told(camera->testAuthentication()), NotSet);
    EXPECT_FALSE(camera->customInitialize());
    EXPECT_THAT(newPaths(), IsEmpty());

    // An answer without the value is an answer.
    stub.demandCredentials();
    device->setAuthentication({"u", "p"});
    stub.reply(AuthenticationTest, HttpOk(""));
    EXPECT_EQ(Told(camera->testAuthentication()), "1 0 ");
    EXPECT_EQ(stub.requests().back().authorization, "Basic dTpw"); // u:p
}

TEST_F(Camera, TheUninitialisedCameraAnswersEmptyTextsAndRefusesCommands) {
    CString value = "old";
    EXPECT_FALSE(camera->getUnitFirmwareVersion(value));
    EXPECT_EQ(value, CString(""));
    value = "old";
    EXPECT_FALSE(camera->getInterfaceMac(0, value));
    EXPECT_EQ(value, CString(""));
    EXPECT_THAT(titles(0), ElementsAre("before", "", "", "20"));
    EXPECT_EQ(Told(camera->rebootDevice()), "16 3 property not found");
    EXPECT_EQ(Told(camera->resetToFactoryDefaults()), "16 3 property not found");
    EXPECT_EQ(Told(camera->setLensAutoFocus(0, "1")), "16 3 property not found");
    EXPECT_THAT(newPaths(), IsEmpty());
}

TEST_F(Camera, TellsWhoItIs) {
    ASSERT_TRUE(camera->customInitialize());
    CString value;
    EXPECT_FALSE(camera->getUnitFirmwareVersion(value));
    EXPECT_EQ(value, CString("4.3"));
    for (int interfaceIndex : {0, 7, -1}) {
        EXPECT_FALSE(camera->getInterfaceMac(interfaceIndex, value));
        EXPECT_EQ(value, CString("00:11"));
    }
    EXPECT_FALSE(camera->isUnitModelSupported(value));
    EXPECT_EQ(value, CString("1"));
    value = "0";
    EXPECT_FALSE(camera->isUnitFirmwareSupported(value));
    EXPECT_EQ(value, CString("1"));

    EXPECT_THAT(titles(-5), ElementsAre("before", "one", "one", "20"));
    EXPECT_THAT(titles(0), ElementsAre("before", "one", "one", "20"));
    EXPECT_THAT(titles(1), ElementsAre("before", "two", "two", "20"));
    EXPECT_THAT(titles(2), ElementsAre("before", "", "", "20"));
    EXPECT_THAT(titles(3), ElementsAre("before", "four", "four", "20"));
    EXPECT_THAT(titles(5), ElementsAre("before", "six", "six", "20")); // the model's last
    std::string frameRate;
    EXPECT_FALSE(camera->getVideoCodecFpsCurrentValue(5, 0, VideoCodec::Mjpeg, frameRate)); // likewise
    EXPECT_EQ(frameRate, "7");
    EXPECT_THAT(titles(2147483647), ElementsAre("before", "", "", "20"));
}

TEST_F(Camera, CommandsCarryTheirTokenAndAreFollowedByAReload) {
    ASSERT_TRUE(camera->customInitialize());
    EXPECT_EQ(titles(0)[1], "one");
    stub.reply(Setdata, HttpOk("CAMTITLE,\"new\"\r\n"));
    EXPECT_FALSE(camera->rebootDevice());
    EXPECT_EQ(titles(0)[1], "new");
    stub.reply(Initial, HttpReply(500));
    EXPECT_EQ(Told(camera->resetToFactoryDefaults()), "2 4 CGI request failed !!");
    const std::vector<SStubRequest> commands = stub.requests(Initial);
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].method + " " + commands[0].body, "POST cmd=reset&Randomnum=5D21A7C03E8F4B69");
    EXPECT_EQ(commands[1].method + " " + commands[1].body, "POST cmd=all&Randomnum=5D21A7C03E8F4B69");
}

TEST_F(Camera, AsksForItsModelBeforeItIsInitialised) {
    std::string model = "old";
    device->setAuthentication({});
    EXPECT_EQ(Told(camera->preInit_getUnitModelName(model)), "10 3 Unable to get Authentication data");
    device->setAuthentication({"u", "p"});
    EXPECT_EQ(Told(camera->preInit_getUnitModelName(model)), "6 3 unable to create device DB proxy");
    EXPECT_THAT(device->logLines(),
                ElementsAre("1 preInit_getUnitModelName: auth is not set.",
                            "1 preInit_getUnitModelName:: unable to create device DB proxy"));
    device->setFamily("A");
    EXPECT_EQ(camera->preInit_getUnitModelName(model).getCode(), 2); // 404
    EXPECT_EQ(model, "old");

    struct {
        const char* reported;
        const char* model;
        const char* fullName;
    } const cases[] = {{"PX-A10", "A10", "PX-A10"},
                       {"PX-A-10", "A-10", "PX-A10"},
                       {"A10", "A10", "A10"},
                       {"-A10", "A10", "-A10"},
                       {"", "", "A10"}};
    for (const auto& c : cases) {
        stub.reply("/A/model", HttpOk(std::string("NAME=") + c.reported + "m's\r\n"));
        EXPECT_EQ(Told(camera->preInit_getUnitModelName(model)), "1 0 ");
        EXPECT_EQ(model, c.model);
        CString name;
        EXPECT_FALSE(camera->getUnitModelName(name));
        EXPECT_EQ(name, CString(c.fullName));
    }
    EXPECT_EQ(stub.requests().back().authorization,
              "Basic dTpw"); // u:p, unasked as the family's scheme has it
    make("");
    CString name = "old";
    EXPECT_TRUE(camera->getUnitModelName(name)); // the framework does not know the number
    EXPECT_EQ(name, CString("old"));
}

} // namespace
} // namespace corvane::panasonic_camera
