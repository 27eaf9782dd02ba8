#include "tests/support/scripted_server.h"
#include "tests/vornhost/canary.h"
#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(Secrets, ThePasswordGetsOutNowhere) {
    const std::string canary = "canary&b1rd@ /word";
    const std::string wrongCanary = "other-canary-word";
    const CTemporaryFolder words;
    const CTemporaryFolder databases;
    const std::string right = words.file("right", canary + "\n");
    const std::string wrong = words.file("wrong", wrongCanary + "\n");
    const CCamsim camsim({"--auth", "basic", "--password-file", right, "--rtsp-port", "0", "--fault",
                          "/cgi-bin/echo* empty", "--fault", "/MediaInput/* refuse"});
    const std::vector<std::string> common = {
        "--trace", "--log-level", "0", "--user", "admin", "--db", databases.file("devices.db")};
    const auto run = [&](std::vector<std::string> rest, const std::string& file,
                         const std::string& input = "") {
        rest.insert(rest.begin(), common.begin(), common.end());
        rest.insert(rest.begin(), {"--password-file", file});
        const SRun result = Vornhost(rest, input);
        for (const std::string& secret : {canary, wrongCanary, std::string("canary%26b1rd%40%20%2Fword"),
                                          std::string("YWRtaW46")}) { // "admin:" in base 64
            EXPECT_THAT(result.out, Not(HasSubstr(secret)));
            EXPECT_THAT(result.err, AllOf(Not(HasSubstr(secret)), Not(HasSubstr("/word"))));
            EXPECT_THAT(databases.contents(), Not(HasSubstr(secret)));
        }
        return result.status;
    };
    EXPECT_EQ(run({"identify", camsim.address()}, right), 0);
    EXPECT_EQ(run({"show", camsim.address()}, right), 0);
    EXPECT_EQ(run({"show", "--json", camsim.address()}, right), 0);
    EXPECT_EQ(run({"identify", camsim.address()}, wrong), 1);
    EXPECT_EQ(run({"script", camsim.address()}, right,
                  "credentials admin " + wrong + "\ntestAuthentication\ncamera new\n"),
              1);
    EXPECT_EQ(run({"--model", "F320", "call", camsim.address(), "testAuthentication"}, wrong), 3);
    // The location of the sound, which is logged, holds the password as it is.
    EXPECT_EQ(run({"record", camsim.address(), "--stream", "0,h264,0", "--audio", "--output",
                   databases.file("sound.mkv"), "--rtsp-port", camsim.rtspPort()},
                  right),
              1);
    EXPECT_EQ(run({"call", camsim.address(), "setting.CameraHttpGet", "/cgi-bin/echo?p=canary", "4"}, right),
              0);
}

// Every verb that asks a camera, through every fault that a camera has, with every log at its finest.
class SecretsUnder : public testing::TestWithParam<const char*> {};
TEST_P(SecretsUnder, NoFaultLetsThePasswordOut) {
    const CTemporaryFolder words;
    const CTemporaryFolder kept;
    const std::string file = words.file("word", Canary + "\n");
    const std::vector<std::string> forms = CanaryForms();
    const std::vector<std::string> verbs[] = {
        {"show"},
        {"call", "getPtzPosition", "0"},
        {"call", "setVpaBrightness", "0", "1"},
        {"script"},
        {"sync", "--stream", "0,h264,0", "frameRate=1"},
        {"record", "--stream", "0,h264,0", "--seconds", "0.1", "--timeout", "1", "--output",
         kept.file("a.mkv")},
        {"record", "--audio", "--stream", "0,h264,0", "--seconds", "0.1", "--timeout", "1", "--output",
         kept.file("b.mkv")},
        {"events", "--input", "0", "--seconds", "0.2"},
        {"ptz"},
        {"image"},
    };
    const json faults[] = {{{"kind", "delay"}, {"ms", 1}},
                           {{"kind", "status"}, {"status", 401}},
                           {{"kind", "status"}, {"status", 302}},
                           {{"kind", "status"}, {"status", 500}, {"body", "<html>"}},
                           {{"kind", "drop"}},
                           {{"kind", "reset"}},
                           {{"kind", "cut"}, {"bytes", 3}},
                           {{"kind", "stall"}, {"bytes", 3}, {"ms", 1}},
                           {{"kind", "garbage"}},
                           {{"kind", "body"}, {"size", 100}},
                           {{"kind", "empty"}},
                           {{"kind", "stale"}, {"count", 1000}},
                           {{"kind", "close"}},
                           {{"kind", "refuse"}, {"status", 401}}};
    const CCamsim camsim(
        {"--model", "D850", "--auth", GetParam(), "--password-file", file, "--rtsp-port", "0"});
    for (const json& fault : faults) {
        json everywhere = fault;
        everywhere["path"] = "*";
        camsim.post("/faults", everywhere);
        for (std::vector<std::string> arguments : verbs) {
            const std::string verb = arguments.front();
            arguments.insert(arguments.begin() + 1, camsim.address());
            arguments.insert(arguments.begin(), {"--model", "D850", "--rtsp-port", camsim.rtspPort(),
                                                 "--trace", "--log-level", "0", "--user", "admin",
                                                 "--password-file", file, "--db", kept.file("devices.db")});
            const SRun run = Vornhost(arguments, "getPtzPosition 0\ncontroller.moveAt 1 0 0\nrebootDevice\n",
                                      {{"GST_DEBUG", "9"}, {"GST_DEBUG_NO_COLOR", "1"}});
            for (const std::string& form : forms)
                EXPECT_TRUE(run.out.find(form) == run.out.npos && run.err.find(form) == run.err.npos)
                    << form << fault << verb;
        }
        camsim.erase("/faults");
    }
    for (const std::string& form : forms)
        EXPECT_EQ(kept.contents().find(form), std::string::npos);
}
#ifdef VORN_UNDER_ASAN // what a scheme lets out no sanitizer sees
INSTANTIATE_TEST_SUITE_P(Scheme, SecretsUnder, testing::Values("digest"));
#elif defined(VORN_UNDER_TSAN)
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SecretsUnder);
#else
INSTANTIATE_TEST_SUITE_P(Scheme, SecretsUnder, testing::Values("basic", "digest"));
#endif

// Tells who it is to everybody, as somebody in between would, and wants Basic for all else.
tests::SScriptedReply AskForBasic(const tests::SSentRequest& request) {
    if (request.target.find("/cgi-bin/getinfo") == 0)
        return {tests::HttpReply(200, "NAME=PX-D850\r\nSERIAL=1\r\n")};
    if (request.target == "/cgi-bin/get_capability")
        return {tests::HttpReply(200, "\r\nvideo_server.peripheral.io.number=1\r\n"
                                      "video_server.peripheral.io.trm1=alm_in\r\n")};
    const bool isIn = !request.header("Authorization").empty();
    return {tests::HttpReply(isIn ? 500 : 401, "", "WWW-Authenticate: Basic realm=\"c\"\r\n")};
}

TEST(Secrets, WithDigestOnlyThePasswordDoesNotGoOverTheWire) {
    const std::string canary = "canary-on-the-wire";
    const CTemporaryFolder words;
    const std::string file = words.file("word", canary + "\n");
    // Whole groups of base 64, wherever in the text the password begins.
    const std::string forms[] = {canary, Base64(canary), Base64(canary.substr(1)), Base64(canary.substr(2))};
    const struct {
        std::vector<std::string> arguments;
        std::string input;
        const char* reached; // a request that it makes
    } cases[] = {
        {{"identify", "ADDRESS"}, "", "/cgi-bin/getinfo"},
        {{"show", "ADDRESS"}, "", "/cgi-bin/setdata"},
        {{"call", "ADDRESS", "handler.testAuthentication", "ADDRESS"}, "", "/cgi-bin/getinfo"},
        {{"call", "ADDRESS", "setting.SetCameraSetting", "/cgi-bin/set_h264", "a=1"},
         "",
         "/cgi-bin/set_h264"},
        {{"script", "ADDRESS"},
         "controller.moveAt 50 0 0\ngetPtzPosition 0\nrebootDevice\n",
         "/cgi-bin/initial"},
        {{"sync", "ADDRESS", "--stream", "0,h264,0", "frameRate=1"}, "", "/cgi-bin/setdata"},
        {{"image", "ADDRESS", "brightness=1"}, "", "/cgi-bin/setdata"},
        {{"events", "ADDRESS", "--input", "0"}, "", "/cgi-bin/get_io?mode=monitor"},
    };
    for (const auto& test : cases) {
        for (const std::string user : {"x", "xy", "xyz"}) { // so that the password begins anywhere in a group
            const tests::CScriptedServer camera(AskForBasic);
            std::vector<std::string> arguments = {"--digest-only", "--user", user, "--password-file", file};
            for (const std::string& argument : test.arguments)
                arguments.push_back(argument == "ADDRESS" ? camera.address() : argument);
            (void)Vornhost(arguments, test.input);
            std::string wire;
            for (const tests::SSentRequest& request : camera.requests())
                wire += request.head + request.body;
            EXPECT_THAT(wire, HasSubstr(test.reached));
            EXPECT_THAT(wire, Not(HasSubstr("Authorization: Basic"))) << test.arguments[0];
            for (const std::string& form : forms)
                EXPECT_THAT(wire, Not(HasSubstr(form))) << test.arguments[0];
        }
    }
}

} // namespace
} // namespace corvane::vornhost_test
