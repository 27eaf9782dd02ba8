#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::HasSubstr;

TEST(Script, AnswersEachLineAndGoesOnAfterAFailure) {
    const CCamsim camsim;
    const SRun run = Vornhost({"script", camsim.address()}, "# the beginning\n"
                                                            "\n"
                                                            "setting.GetCameraSetting 'CAMTITLE' # why\n"
                                                            "sleep 1\r\n"
                                                            "getUnitModelNam\n"
                                                            "getCameraName zero\n"
                                                            "getCameraName 0 0\n"
                                                            "setting.GetCameraSetting \"CAM\n"
                                                            "sleep forever\n"
                                                            "camera old\n"
                                                            "setting.CameraHttpGet /none 4\n"
                                                            "getCameraName 0");
    EXPECT_EQ(run.status, 1) << run.err;
    const std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 9U) << run.out;
    EXPECT_EQ(lines[0].at("result"), "Entrance");
    const struct {
        std::size_t line;
        const char* operation;
        const char* error;
    } errors[] = {{1, "getUnitModelNam", "did you mean getUnitModelName"},
                  {2, "getCameraName", "zero"},
                  {3, "getCameraName", "1 argument"},
                  {4, "setting.GetCameraSetting \"CAM", "not closed"},
                  {5, "sleep", "MILLISECONDS"},
                  {6, "camera", "camera new"}};
    for (const auto& error : errors) {
        EXPECT_EQ(lines[error.line].at("operation"), error.operation);
        EXPECT_THAT(lines[error.line].at("error"), HasSubstr(error.error));
        EXPECT_EQ(lines[error.line].size(), 2U);
    }
    EXPECT_EQ(lines[7].at("code"), 2);
    EXPECT_EQ(lines[8].at("values"), json({"Entrance", "Entrance", "20"}));
}

TEST(Script, AnswersAsSoonAsALineIsThere) {
    const CCamsim camsim;
    CProgram program("vornhost", {"script", camsim.address()});
    for (int i = 0; i < 3; ++i) {
        program.write("getCameraName " + std::to_string(i) + "\n");
        EXPECT_EQ(json::parse(program.readLine()).at("arguments"), json({std::to_string(i)}));
    }
    EXPECT_EQ(program.wait().status, 0);
}

TEST(Script, AWriteIsSeenByTheNextRead) {
    const CCamsim camsim;
    const SRun run = Vornhost({"script", camsim.address()},
                              "setting.SetCameraSetting /cgi-bin/set_h264 h264_transmit=0&f_priority=1\n"
                              "setting.GetCameraSetting H264\n"
                              "setting.SetCameraSetting /cgi-bin/set_h264?h264_transmit=1 ''\n"
                              "setting.GetCameraSetting H264\n");
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    const std::vector<json> lines = JsonLines(run.out);
    EXPECT_EQ(lines.at(1).at("result"), "0");
    EXPECT_EQ(lines.at(3).at("result"), "1");
    EXPECT_EQ(lines.at(2).at("arguments"), json({"/cgi-bin/set_h264?h264_transmit=1", ""}));
}

TEST(Script, CredentialsChangeFromALineOn) {
    const CTemporaryFolder folder;
    const CCamsim camsim;
    const std::string right = folder.file("right", "12345");
    const SRun run = Vornhost({"script", camsim.address()}, "testAuthentication\n"
                                                            "credentials none\n"
                                                            "testAuthentication\n"
                                                            "credentials admin " +
                                                                right +
                                                                "\n"
                                                                "testAuthentication\n"
                                                                "credentials admin " +
                                                                folder.file("wrong", "54321") +
                                                                "\n"
                                                                "testAuthentication\n"
                                                                "credentials admin " +
                                                                folder.file("missing") +
                                                                "\n"
                                                                "credentials admin\n");
    std::vector<int> codes;
    std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 6U) << run.out;
    for (std::size_t i = 0; i < 4; ++i)
        codes.push_back(lines[i].at("code"));
    EXPECT_THAT(codes, testing::ElementsAre(1, 16, 1, 10));
    EXPECT_THAT(lines[4].at("error"), HasSubstr("No such file"));
    EXPECT_THAT(lines[5].at("error"), HasSubstr("PASSWORD_FILE"));
}

// A plain value does not say that nothing could be asked.
TEST(Script, WithoutCredentialsAValueHasItsProblem) {
    const CCamsim camsim;
    const SRun run = Vornhost({"script", camsim.address()}, "credentials none\n"
                                                            "setting.getDetailsFromSetdata\n"
                                                            "getCameraName 0\n");
    EXPECT_EQ(run.status, 1);
    const std::vector<json> lines = JsonLines(run.out);
    EXPECT_EQ(lines.at(0).at("problem").at("cause"), "no-credentials") << run.out;
    EXPECT_FALSE(lines.at(1).contains("problem")) << run.out; // it is known
}

TEST(Script, ANewCameraObjectIsInitialisedUnlessNoneIs) {
    const CCamsim camsim({"--auth", "none"}); // no rounds of a challenge among the requests
    const auto capabilityRequests = [&camsim] {
        const std::vector<std::string> paths = camsim.requestedPaths();
        return std::count(paths.begin(), paths.end(), "/cgi-bin/get_capability");
    };
    EXPECT_EQ(Vornhost({"script", camsim.address()}, "camera new\ncapability.getImageMode\n").status, 0);
    EXPECT_EQ(capabilityRequests(), 2);
    const SRun run = Vornhost({"--no-initialize", "script", camsim.address()},
                              "customInitialize\ncamera new\ncapability.getImageMode\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(JsonLines(run.out).at(1).at("error"), HasSubstr("customInitialize"));
    EXPECT_EQ(capabilityRequests(), 3);
}

TEST(Script, ACameraThatCannotBeMadeAnewIsAFailedLine) {
    const CCamsim camsim;
    CProgram program("vornhost", {"script", camsim.address()});
    program.write("getCameraName 0\n");
    program.readLine();
    camsim.post("/faults", {{"path", "/cgi-bin/get_capability"}, {"kind", "empty"}});
    program.write("camera new\n");
    const json failure = json::parse(program.readLine());
    EXPECT_EQ(failure.at("operation"), "camera");
    EXPECT_THAT(failure.at("error"), HasSubstr("capability reply is empty"));
    EXPECT_EQ(program.wait().status, 1);
}

TEST(Script, ABackgroundCallIsAnsweredWhenItEnds) {
    const CCamsim camsim;
    camsim.post("/faults", {{"path", "/cgi-bin/getinfo*"}, {"kind", "delay"}, {"ms", 300}});
    const SRun run = Vornhost({"--model", "F320", "script", camsim.address()},
                              "handler.queryDeviceAsync " + camsim.address() +
                                  " &\n"
                                  "setting.GetCameraSetting CAMTITLE\n");
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].at("operation"), "setting.GetCameraSetting");
    EXPECT_EQ(lines[1].at("values").at(0), "NetworkCamera");

    const SRun failing =
        Vornhost({"--model", "F320", "script", camsim.address()}, "handler.queryDeviceAsync 127.0.0.1:9 &\n");
    EXPECT_EQ(failing.status, 1);
    EXPECT_EQ(JsonLines(failing.out).at(0).at("code"), 16);
}

TEST(Script, WithoutAUsableCameraNoLineRuns) {
    const SRun run = Vornhost({"--model", "F320", "script", "127.0.0.1:9"}, "getCameraName 0\n");
    EXPECT_EQ(run.status, 3);
    const std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].at("problem").at("cause"), "refused");
    EXPECT_THAT(run.err, HasSubstr("nobody listens"));
}

} // namespace
} // namespace corvane::vornhost_test
