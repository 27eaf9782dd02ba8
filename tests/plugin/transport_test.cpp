#include "camera/setting.h"

#include "tests/plugin/curl_options.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;

// "CODE ORIGIN TEXT".
class Transport : public testing::Test {
protected:
    std::vector<std::string> requestsOf(const CStubCamera& from) const {
        std::vector<std::string> lines;
        for (const SStubRequest& request : from.requests())
            if (request.target != Setdata)
                lines.push_back(request.method + " " + request.target + " " + request.body);
        return lines;
    }

    CThreadCheck threadCheck;
    CStubCamera camera;
    boost::shared_ptr<CFakeDevice> device = boost::make_shared<CFakeDevice>();
    CPanasonicSetting setting{camera.address(), device};
};

TEST_F(Transport, OnlyStatus200IsSuccess) {
    struct {
        std::string reply;
        const char* post;
        const char* get;
    } const cases[] = {
        {HttpReply(200, "body"), "1 0 ", "1 0 "},
        {HttpReply(204), "2 4 CGI request failed !!", "2 4 HTTP status 204 No Content"},
        {HttpReply(302), "2 4 CGI request failed !!", "2 4 HTTP status 302 Found"},
        {HttpReply(401), "10 4 CGI request failed !!", "10 4 HTTP status 401 Unauthorized"},
        {HttpReply(404), "2 4 CGI request failed !!", "2 4 HTTP status 404 Not Found"},
        {HttpReply(599, "x"), "2 4 CGI request failed !!", "2 4 HTTP status 599"},
        {"", "7 4 CGI request failed !!", "7 4 connection closed before the reply"},
        {"garbage\r\n", "7 4 CGI request failed !!", "7 4 the reply is not HTTP"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncut", "7 4 CGI request failed !!",
         "7 4 connection closed in the middle of the reply"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reply);
        camera.reply("/x", c.reply);
        std::string response = "old";
        EXPECT_EQ(Told(setting.CameraHttpPost("/x", "a=1", response, 4)), c.post);
        EXPECT_EQ(response, c.post[0] == '1' && c.post[1] == ' ' ? "old" : "");
        response = "old";
        EXPECT_EQ(Told(setting.CameraHttpGet("/x", response, 4)), c.get);
        EXPECT_EQ(response, c.get[0] == '1' && c.get[1] == ' ' ? "body" : "old");
    }
    CPanasonicSetting unreachable(UnusedAddress(), device);
    std::string response = "old";
    EXPECT_EQ(Told(unreachable.CameraHttpGet("/x", response, 4)), "7 4 connection refused");
    EXPECT_EQ(response, "old");
    EXPECT_EQ(Told(unreachable.CameraHttpPost("/x", "a=1", response, 4)), "7 4 CGI request failed !!");
    EXPECT_EQ(response, "");
}

TEST_F(Transport, EachRequestHasItsTimeAndAnyAuthentication) {
    std::string response;
    std::vector<std::string> values;
    setting.GetCameraSetting("CAMTITLE"); // after the cache's own request
    setting.CameraHttpGet("/get", response, 7);
    setting.CameraHttpPost("/post", "a=1", response, 7); // which is the framework's to say
    setting.GetDetailsFromUrl("/list", {"A="}, values);
    setting.GetDetailsFromUrl("/single", "A=");
    setting.SetCameraSettingNoReload("/set", "");
    setting.getDetailsFromSetdata();
    const std::pair<const char*, const char*> cases[] = {{"/get", "7"},    {"/post", "4"}, {"/list?A=", "4"},
                                                         {"/single", "4"}, {"/set", "4"},  {Setdata, "20"}};
    for (const auto& [path, wait] : cases) {
        EXPECT_EQ(CurlOption(path, CURLOPT_TIMEOUT_MS), wait) << path;
        EXPECT_EQ(CurlOption(path, CURLOPT_HTTPAUTH),
                  std::to_string(static_cast<long>(CURLAUTH_DIGEST | CURLAUTH_BASIC)))
            << path;
    }
    CPanasonicSetting withoutPort("127.0.0.1", device);
    withoutPort.CameraHttpGet("/port", response, 1);
    EXPECT_EQ(CurlOption("/port", CURLOPT_URL), "http://127.0.0.1/port"); // 80
}

TEST_F(Transport, RequestsGoOutAsGiven) {
    CStubCamera other;
    for (CStubCamera* to : {&camera, &other})
        for (const char* path : {"/a", "/b"})
            to->reply(path, HttpOk("x"));
    std::string response;
    std::vector<std::string> values;
    setting.CameraHttpGet("/a?Q=1&R=%20", response, 4);
    setting.CameraHttpPost("/b?Q=1", "cmd=reset&v=a b%", response, 4);
    setting.CameraHttpPost("HtTP://" + other.address() + "/a?z", "abs=1", response, 4);
    setting.GetDetailsFromUrl("/a", {"PAN=", "TILT="}, values);
    setting.GetDetailsFromUrl("/b?FILE=1", {"ZOOM="}, values);
    setting.GetDetailsFromUrl("/b?only", "KEY=");
    EXPECT_THAT(requestsOf(camera),
                ElementsAre("GET /a?Q=1&R=%20 ", "POST /b?Q=1 cmd=reset&v=a b%",
                            "GET /a?PAN=&TILT= ", "GET /b?FILE=1&ZOOM= ", "GET /b?only "));
    EXPECT_THAT(requestsOf(other), ElementsAre("POST /a?z abs=1"));
}

TEST_F(Transport, CredentialsAreReadAtEachRequest) {
    camera.demandCredentials();
    camera.reply("/x", HttpOk("A=1\r\n"));
    device->setAuthentication({});
    std::string response = "old";
    std::vector<std::string> values{"old"};
    const std::string notSet = "16 3 Authentication is not set !";
    EXPECT_EQ(Told(setting.CameraHttpGet("/x", response, 4)), notSet);
    EXPECT_EQ(Told(setting.CameraHttpPost("/x", "a=1", response, 4)), notSet);
    EXPECT_EQ(Told(setting.GetDetailsFromUrl("/x", {"A="}, values)), notSet);
    EXPECT_EQ(Told(setting.SetCameraSettingNoReload("/x", "a=1")), notSet);
    EXPECT_EQ(Told(setting.SetCameraSettingNoReload("/x", "")), notSet);
    EXPECT_EQ(setting.GetDetailsFromUrl("/x", "A="), "");
    EXPECT_EQ(setting.getDetailsFromSetdata(), -1);
    EXPECT_EQ(response, "old");
    EXPECT_THAT(values, ElementsAre("old"));
    EXPECT_THAT(camera.requests("/x"), testing::IsEmpty());

    device->setAuthentication({"u", ""});
    EXPECT_FALSE(setting.CameraHttpGet("/x", response, 4));
    device->setAuthentication({"u", "p"});
    EXPECT_FALSE(setting.CameraHttpPost("/x", "a=1", response, 4));
    ASSERT_EQ(camera.requests("/x").size(), 2u);
    EXPECT_EQ(camera.requests("/x")[0].authorization, "Basic dTo="); // u:
    EXPECT_EQ(camera.requests("/x")[1].authorization, "Basic dTpw"); // u:p
}

TEST_F(Transport, ASingleValueStandsBehindItsKeyFromTheSecondCharacterOn) {
    struct {
        const char* reply;
        const char* key;
        const char* value;
    } const cases[] = {
        {"A=1\r\nB=2\r\n", "B=", "2"},
        {"A=1\nB=2\nC", "B=", "2"},
        {"A=1&B=2&C", "B=", "2"},
        {"A=1\r\n", "A=", ""},
        {"A=1\r\nA=2\r\n", "A=", "2"},
        {"\r\nA=1", "\nA=", "1"},
        {"xA='1' 2\rB", "A=", "'1' 2"},
        {"xB=", "B=", ""},
        {"x", "B=", ""},
        {"", "B=", ""},
        {"B", "B", ""},
        {"xAB=1", "B=", "1"},
    };
    for (const auto& c : cases) {
        camera.reply("/x", HttpOk(c.reply));
        EXPECT_EQ(setting.GetDetailsFromUrl("/x", c.key), c.value) << c.reply << " for " << c.key;
    }
    camera.reply("/x", HttpReply(500, "xA=1"));
    EXPECT_EQ(setting.GetDetailsFromUrl("/x", "A="), "");
}

TEST_F(Transport, AListOfValuesComesInTheOrderOfItsKeys) {
    camera.reply("/x", HttpOk("PAN=1'x&TILT=22\r\nZOOM=3"));
    std::vector<std::string> values{"earlier", "values", "go", "away"};
    EXPECT_FALSE(setting.GetDetailsFromUrl("/x", {"ZOOM=", "FOCUS=", "PAN="}, values));
    EXPECT_THAT(values, ElementsAre("3", "", "1"));
    camera.reply("/x", HttpReply(500));
    EXPECT_EQ(Told(setting.GetDetailsFromUrl("/x", {"PAN="}, values)),
              "2 4 HTTP status 500 Internal Server Error");
    EXPECT_THAT(values, ElementsAre("3", "", "1"));
}

TEST(TransportDeathTest, WithoutADeviceContextTheProcessEnds) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            CPanasonicSetting setting("127.0.0.1:1", {});
            setting.GetCameraSetting("CAMTITLE");
        },
        "assertion failed: transport:");
}

} // namespace
} // namespace corvane::panasonic_camera
