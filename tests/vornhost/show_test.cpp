#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Characters as a terminal counts them, near enough for text without combining characters.
std::size_t Columns(const std::string& line) {
    return static_cast<std::size_t>(
        std::count_if(line.begin(), line.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

void ExpectFitForATerminal(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(Columns(line), 100U) << line;
        EXPECT_TRUE(std::none_of(line.begin(), line.end(), [](unsigned char byte) {
            return byte < 0x20 || byte == 0x7F;
        })) << line;
    }
}

TEST(Show, TellsEveryModel) {
    const std::vector<std::string> models = {"F320", "D850", "D870", "GXE500", "L115", "S202"};
    std::vector<std::string> options{"--count", std::to_string(models.size())};
    for (const std::string& model : models)
        options.insert(options.end(), {"--model", model});
    const CCamsim camsim(options);
    for (std::size_t i = 0; i < models.size(); ++i) {
        const SRun eyes = Vornhost({"show", camsim.addresses()[i]});
        EXPECT_EQ(eyes.status, 0) << eyes.err;
        EXPECT_THAT(eyes.out, AllOf(HasSubstr("PX-" + models[i]), HasSubstr("MAY BE"), HasSubstr("RTSP"),
                                    Not(HasSubstr("What is wrong"))));
        ExpectFitForATerminal(eyes.out);

        const json report = JsonLines(Vornhost({"show", "--json", camsim.addresses()[i]}).out).at(0);
        const json camera = camsim.get("/cameras/" + std::to_string(i));
        EXPECT_EQ(report.at("device").at("serialNumber"), camera.at("serial"));
        EXPECT_FALSE(report.at("device").at("firmware").get<std::string>().empty());
        EXPECT_FALSE(report.at("streams").empty());
        EXPECT_FALSE(report.at("settings").at("streams").empty());
        EXPECT_EQ(report.at("settings").at("rtsp").at("port"), 554);
        EXPECT_THAT(report.at("problems"), IsEmpty());
        EXPECT_EQ(report.count("audio"), models[i] == "S202" ? 0U : 1U);
        EXPECT_EQ(report.at("image").at(0).at("current"), 50);
        EXPECT_FALSE(report.at("answerTimes").empty());
        EXPECT_EQ(report.count("lens"), models[i] == "GXE500" ? 0U : 1U);
    }
}

TEST(Show, AlarmInputsAreReadAndNotChanged) {
    const CCamsim camsim({"--model", "D850"});
    camsim.patch("/cameras/0/settings", {{"ATRMIN2", "1"}, {"AINMODE2", "nc"}});
    camsim.patch("/cameras/0/inputs", {{"1", "Low"}, {"2", "High"}});
    const json settings = camsim.get("/cameras/0/settings");
    const json inputs = JsonLines(Vornhost({"show", "--json", camsim.address()}).out).at(0).at("alarmInputs");
    ASSERT_EQ(inputs.size(), 3U);
    const json first = {{"input", 0},           {"terminal", 1},         {"contact", "normally open"},
                        {"activeLevel", "Low"}, {"alarmEnabled", false}, {"level", "Low"},
                        {"state", "inactive"}};
    const json second = {{"input", 1},
                         {"terminal", 2},
                         {"contact", "normally closed"},
                         {"activeLevel", "High"},
                         {"alarmEnabled", true},
                         {"level", "High"},
                         {"state", "active"}};
    EXPECT_EQ(inputs[0], first);
    EXPECT_EQ(inputs[1], second);
    EXPECT_EQ(camsim.get("/cameras/0/settings"), settings);
}

TEST(Show, WhatACameraSaysCannotSteerTheTerminal) {
    const CCamsim camsim;
    camsim.patch("/cameras/0/settings",
                 {{"CAMTITLE", "\x1b[31mT\xC3\xBCr\x07 \xE2\x80\xAE"
                               "and a title that is "
                               "far too long for one line of a page, so that it must be "
                               "wrapped somewhere"}});
    const SRun run = Vornhost({"show", camsim.address()});
    EXPECT_EQ(run.status, 1) << run.err; // a bell is no text
    EXPECT_THAT(run.out, HasSubstr("T\xC3\xBCr"));
    ExpectFitForATerminal(run.out);
}

TEST(Show, OneCauseIsToldOnce) {
    // The second request is made for the firmware version and again for the MAC address.
    const CCamsim camsim({"--fault", "/cgi-bin/setdata* status status=503", "--fault",
                          "/cgi-bin/getinfo*page=12345* status status=500"});
    const SRun run = Vornhost({"show", "--json", camsim.address()});
    EXPECT_EQ(run.status, 1);
    const json report = JsonLines(run.out).at(0);
    const json& problems = report.at("problems");
    ASSERT_EQ(problems.size(), 2U) << problems;
    const bool dumpIsFirst = problems[0].at("answered") == "HTTP status 503 Service Unavailable";
    const json& dump = problems[dumpIsFirst ? 0 : 1];
    const json& info = problems[dumpIsFirst ? 1 : 0];
    EXPECT_EQ(dump.at("answered"), "HTTP status 503 Service Unavailable");
    EXPECT_THAT(dump.at("asked"), HasSubstr("/cgi-bin/setdata"));
    EXPECT_EQ(info.at("answered"), "HTTP status 500 Internal Server Error");
    EXPECT_EQ(info.at("operation"), "getUnitFirmwareVersion");
    EXPECT_FALSE(report.at("streams").empty());
    EXPECT_THAT(Vornhost({"show", camsim.address()}).out,
                HasSubstr("What is wrong\n  the camera says that it is busy"));
}

TEST(Show, WhatCannotBeReadHasItsErrorWhereItsValueWouldBe) {
    const CCamsim camsim({"--model", "D850", "--fault", "/cgi-bin/absget* status status=503"});
    const json report = JsonLines(Vornhost({"show", "--json", camsim.address()}).out).at(0);
    const json& focus = report.at("lens").at(0);
    EXPECT_EQ(focus.at("setting"), "focus");
    EXPECT_EQ(focus.at("text"), "Property is not found");
    EXPECT_FALSE(focus.contains("current"));
    EXPECT_THAT(Vornhost({"show", camsim.address()}).out, testing::ContainsRegex("focus +\\?\n"));
}

TEST(Show, ADeadCameraIsOneDiagnosis) {
    const SRun eyes = Vornhost({"--model", "F320", "show", "127.0.0.1:9"});
    EXPECT_EQ(eyes.status, 3);
    EXPECT_THAT(eyes.out, AllOf(HasSubstr("127.0.0.1:9"), HasSubstr("NetworkCamera")));
    EXPECT_THAT(eyes.err, HasSubstr("nobody listens"));
    EXPECT_LE(std::count(eyes.err.begin(), eyes.err.end(), '\n'), 6) << eyes.err;

    const SRun machine = Vornhost({"--model", "F320", "--json", "show", "127.0.0.1:9"});
    EXPECT_EQ(machine.status, 3);
    EXPECT_EQ(JsonLines(machine.out).at(0).at("problems").size(), 1U);
}

} // namespace
} // namespace corvane::vornhost_test
