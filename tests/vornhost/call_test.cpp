#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* ModelQuery = "/cgi-bin/getinfo?FILE=1";

TEST(Call, EveryShippedModelAnswers) {
    std::vector<std::string> options;
    const std::vector<std::string> models = {"F320", "D850", "D870", "GXE500", "L115", "S202"};
    for (const std::string& model : models)
        options.insert(options.end(), {"--model", model});
    options.insert(options.end(), {"--count", std::to_string(models.size())});
    const CCamsim camsim(options);
    for (std::size_t i = 0; i < models.size(); ++i) {
        const SRun run = Vornhost({"call", "--json", camsim.addresses()[i], "getUnitModelName"});
        EXPECT_EQ(run.status, 0) << run.err;
        const json answer = JsonLines(run.out).at(0);
        EXPECT_EQ(answer.at("code"), 1);
        EXPECT_EQ(answer.at("values"), json({"PX-" + models[i]}));
    }
}

TEST(Call, ArgumentsMayLookLikeOptions) {
    const CCamsim camsim;
    const SRun run = Vornhost({"--json", "call", camsim.address(), "getCameraName", "-5"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(JsonLines(run.out).at(0).at("arguments"), json({"-5"}));
    EXPECT_EQ(Vornhost({"call", camsim.address(), "setting.GetCameraSetting", "--json"}).out, "result  \n");
}

TEST(Call, AFailedCallEndsWith1AndIsDiagnosed) {
    const CCamsim camsim({"--fault", "/cgi-bin/nothing* status status=503"});
    const SRun run =
        Vornhost({"call", "--json", camsim.address(), "setting.CameraHttpGet", "/cgi-bin/nothing", "4"});
    EXPECT_EQ(run.status, 1);
    const json answer = JsonLines(run.out).at(0);
    EXPECT_EQ(answer.at("code"), 2);
    EXPECT_EQ(answer.at("problem").at("cause"), "busy");
    EXPECT_THAT(run.err, HasSubstr("says that it is busy"));
    EXPECT_THAT(run.err, HasSubstr("GET http://" + camsim.address() + "/cgi-bin/nothing"));
    const SRun secret = Vornhost({"call", "--json", camsim.address(), "setting.CameraHttpPost",
                                  "/cgi-bin/nothing", "pass=12345", "4"});
    EXPECT_THAT(json::parse(secret.out).at("problem").at("asked"), testing::EndsWith("with pass=***"));
}

// The handler may be asked for another device than the one that the call is on.
TEST(Call, TheHandlersIsDiagnosedAtTheAddressThatItAsks) {
    const CCamsim camsim;
    for (const char* operation :
         {"handler.testAuthentication", "handler.queryDevice", "handler.queryVornDevice"}) {
        const SRun run = Vornhost({"--json", "call", camsim.address(), operation, "127.0.0.1:1"});
        EXPECT_EQ(run.status, 1) << run.out;
        EXPECT_EQ(json::parse(run.out).at("problem").at("cause"), "refused") << run.out;
    }
}

TEST(Call, AGivenModelIsTakenAndKeepsThePrefixOfTheCamerasOwnName) {
    const CCamsim camsim;
    const SRun run = Vornhost({"--model", "L115", "call", camsim.address(), "getUnitModelName"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("values  PX-L115\n"));
    EXPECT_THAT(camsim.requestedPaths(), testing::Not(testing::Contains(HasSubstr("SERIAL"))));
}

TEST(Call, WithoutInitialisationNothingIsSent) {
    const CCamsim camsim;
    EXPECT_EQ(Vornhost({"--no-initialize", "call", camsim.address(), "isUnitModelSupported"}).status, 0);
    EXPECT_THAT(camsim.requestedPaths(), IsEmpty());
    EXPECT_EQ(Vornhost({"--no-initialize", "call", camsim.address(), "preInit_getUnitModelName"}).status, 0);
    EXPECT_THAT(camsim.requestedPaths(), Contains(ModelQuery));
}

TEST(Call, ADeviceThatTheDatabaseKnowsIsNotIdentifiedAgain) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--auth", "none"});
    const std::vector<std::string> call = {"--db", folder.file("devices.db"), "call", camsim.address(),
                                           "testAuthentication"};
    EXPECT_EQ(Vornhost(call).status, 0);
    const std::size_t first = camsim.requestedPaths().size();
    camsim.erase("/requests");
    EXPECT_EQ(Vornhost(call).status, 0);
    EXPECT_LT(camsim.requestedPaths().size(), first);
}

TEST(Call, CredentialsComeFromTheOptionsThenTheEnvironmentThenTheFamily) {
    const CTemporaryFolder folder;
    const std::string right = folder.file("right", "s3cret-word\r\nsecond line\n");
    const std::string wrong = folder.file("wrong", "wr0ng-word\n");
    const CCamsim camsim({"--user", "operator", "--password-file", folder.file("camera", "s3cret-word\n")});
    // The model is given, so that a refusal is told at once.
    const auto status = [&](std::vector<std::string> options, const CProgram::Environment& environment = {}) {
        options.insert(options.end(), {"--model", "F320", "call", camsim.address(), "getCameraName", "0"});
        return Vornhost(options, "", environment).status;
    };
    EXPECT_EQ(status({}), 3);
    EXPECT_EQ(status({"--no-credentials"}), 3);
    EXPECT_EQ(status({"--user", "operator", "--password-file", right}), 0);
    EXPECT_EQ(status({"--user", "operator", "--password-file", wrong}), 3);
    const CProgram::Environment environment = {{"VORNHOST_USER", "operator"},
                                               {"VORNHOST_PASSWORD", "s3cret-word"}};
    EXPECT_EQ(status({}, environment), 0);
    EXPECT_EQ(status({"--no-credentials"}, environment), 3);
    EXPECT_EQ(status({"--password-file", wrong}, environment), 3);
}

TEST(Call, TraceIsOneJsonLineAnExchange) {
    const CCamsim camsim;
    const SRun run = Vornhost({"--trace", "call", camsim.address(), "setting.CameraHttpPost",
                               "/cgi-bin/set_h264", "h264_transmit=1", "4"});
    EXPECT_EQ(run.status, 0) << run.err;
    bool posted = false;
    for (const json& line : JsonLines(run.err)) {
        EXPECT_EQ(line.size(), 5U) << line;
        posted = posted ||
                 (line.at("method") == "POST" && line.at("path") == "/cgi-bin/set_h264" &&
                  line.at("body") == "h264_transmit=1" && line.at("status") == 200 && line.at("ms") > 0.0);
    }
    EXPECT_TRUE(posted) << run.err;
}

// A value that the camera cannot have is told before anything is sent; one that it did not take afterwards.
TEST(Sync, HoldsTheCameraToWhatWasAsked) {
    const CCamsim camsim({"--no-rtsp"});
    const auto sync = [&camsim](const std::string& record, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"--json",   "sync",     camsim.address(),
                                           "--stream", "0,h264,0", record};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Vornhost(arguments);
    };
    for (const char* record : {"frameRate=abc", "frameRate=1000", "resolution=640", "resolution=1x1",
                               "resolution=9999x9999", "keyFrameInterval=x"}) {
        const SRun run = sync(record);
        EXPECT_EQ(run.status, 1) << record;
        EXPECT_EQ(json::parse(run.out).at("problem").at("cause"), "wrong-value") << record;
    }
    for (const std::string& path : camsim.requestedPaths())
        EXPECT_TRUE(path.find("set_") == std::string::npos) << path;
    EXPECT_EQ(sync("frameRate=12").status, 0);
    // H.264 has no quality at a camera, which a record may hold all the same.
    EXPECT_EQ(json::parse(sync("frameRate=10;quality=60").out).at("notSent"), json({"quality"}));
    // A call that has set the camera has no problem, though its code is none of success.
    const SRun call = Vornhost({"--json", "call", camsim.address(), "syncVideoCodecProperties",
                                "frameRate=15;resolution=640x480;keyFrameInterval=15", "0,h264,0"});
    EXPECT_EQ(json::parse(call.out).at("code"), 2) << call.out;
    EXPECT_FALSE(json::parse(call.out).contains("problem")) << call.out;
    EXPECT_EQ(call.status, 1);
    camsim.post("/faults", {{"name", "write-ignored"}});
    const SRun ignored = sync("frameRate=5");
    EXPECT_EQ(ignored.status, 1);
    EXPECT_EQ(json::parse(ignored.out).at("problem").at("cause"), "not-accepted");
    camsim.erase("/faults");
    camsim.post("/faults", {{"name", "write-dropped"}});
    EXPECT_EQ(json::parse(sync("frameRate=5").out).at("problem").at("cause"), "unconfirmed");
    EXPECT_NE(sync("frameRate=1000", {"--force", "--dry-run"}).out.find("wouldBe"), std::string::npos);
}

TEST(Record, GoesToStandardOutputAndIntoNoOtherContainer) {
    const CCamsim camsim({"--rtsp-port", "0"});
    const SRun piped = Vornhost({"--rtsp-port", camsim.rtspPort(), "record", camsim.address(), "--stream",
                                 "0,h264,0", "--seconds", "0.5", "--output", "-"});
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(piped.out.substr(0, 4), "\x1A\x45\xDF\xA3"); // how every Matroska file begins
    EXPECT_THAT(piped.err, HasSubstr("frames"));
    const SRun other =
        Vornhost({"record", camsim.address(), "--stream", "0,h264,0", "--output", "/tmp/picture.MP4"});
    EXPECT_EQ(other.status, 2);
    EXPECT_THAT(other.err, HasSubstr(".mkv"));
    const SRun nowhere = Vornhost({"record", camsim.address(), "--stream", "1,h264,0", "--output", "-"});
    EXPECT_EQ(nowhere.status, 2);
    EXPECT_THAT(nowhere.err, HasSubstr("1 video input"));
}

} // namespace
} // namespace corvane::vornhost_test
