#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

SRun Image(const CCamsim& camsim, const Words& more, bool asJson = true) {
    Words arguments = {"image", camsim.address()};
    if (asJson)
        arguments.insert(arguments.begin(), "--json");
    arguments.insert(arguments.end(), more.begin(), more.end());
    return Vornhost(arguments);
}

TEST(Image, ShowsEveryAdjustment) {
    const CCamsim camsim({"--model", "D850"});
    camsim.patch("/cameras/0/settings", {{"BRIGHTNESS", "255"}, {"WHITEBAL", "awc"}, {"SDTHREE", "1"}});
    const SRun run = Image(camsim, {});
    ASSERT_EQ(run.status, 0) << run.err;
    const json told = json::parse(run.out);
    const json& adjustments = told.at("adjustments");
    EXPECT_EQ(adjustments.at("brightness"),
              json({{"current", 100}, {"default", 50}, {"range", {{"from", 0}, {"to", 100}, {"step", 1}}}}));
    EXPECT_EQ(adjustments.at("whiteBalance"),
              json({{"current", "awc"}, {"default", "atw1"}, {"range", {"atw1", "atw2", "awc", "hold"}}}));
    EXPECT_EQ(adjustments.at("backLight"),
              json({{"current", "off"}, {"range", {{"fixedBy", "super dynamic"}}}}));
    EXPECT_EQ(adjustments.at("wideDynamicRange").at("current"), "on");
    EXPECT_EQ(adjustments.at("autoFocus").at("range"), json({"on"}));
    EXPECT_THAT(Image(camsim, {}, false).out,
                AllOf(HasSubstr("####################  100"), HasSubstr("fixed by super dynamic")));
}

TEST(Image, SetsAndTellsWhatTheCameraReports) {
    const CCamsim camsim({"--model", "D850"});
    const SRun run = Image(
        camsim, {"brightness=50", "whiteBalance=atw2", "focus=20", "autoFocus=on", "wideDynamicRange=on"});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<json> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0].at("reported"), 49); // 127 of 255
    EXPECT_EQ(lines[1].at("reported"), "atw2");
    EXPECT_EQ(lines[2].at("reported"), 20); // once the lens stands still
    EXPECT_EQ(lines[3].at("reported"), 50);
    EXPECT_EQ(lines[4].at("reported"), "on");
    EXPECT_EQ(camsim.get("/cameras/0/settings").at("WHITEBAL"), "atw2");
    EXPECT_THAT(Image(camsim, {"brightness=100"}, false).out,
                HasSubstr("brightness 100: the camera reports brightness 100\n"));
    EXPECT_THAT(Image(camsim, {"backLight=on"}, false).out, HasSubstr("fixed by super dynamic"));
    const SRun fixed = Image(camsim, {"backLight=on"});
    EXPECT_EQ(fixed.status, 1);
    const json told = json::parse(fixed.out);
    EXPECT_EQ(told.at("reported"), "off");
    EXPECT_EQ(told.at("problem").at("cause"), "not-accepted");
}

TEST(Image, RefusesWhatCannotBe) {
    const CCamsim camsim({"--model", "S202"});
    const struct {
        const char* wish;
        int status;
        const char* text;
    } cases[] = {
        {"brigtness=5", 2, "did you mean brightness?"},
        {"brightness", 2, "expected brightness=VALUE"},
        {"brightness=101", 2, "0 to 100"},
        {"brightness=-1", 2, "0 to 100"},
        {"whiteBalance=atw3", 2, "did you mean atw1 or atw2"},
        {"backLight=1", 2, "off, on"},
        {"autoFocus=off", 2, "It may be: on\n"},
        {"focus=5", 1, "the camera has no focus"},
        {"autoFocus=on", 1, "the camera has no autoFocus"},
    };
    for (const auto& c : cases) {
        const SRun run = Image(camsim, {c.wish});
        EXPECT_EQ(run.status, c.status) << c.wish;
        EXPECT_THAT(run.err, HasSubstr(c.text));
        EXPECT_EQ(json::parse(run.out).at("problem").at("cause"),
                  c.status == 2 ? "wrong-usage" : "not-supported")
            << c.wish;
    }
    for (const Words& more : {Words{"--input", "1"}, Words{"--input", "1", "brightness=60"}}) {
        const SRun other = Image(camsim, more);
        EXPECT_EQ(other.status, 1);
        EXPECT_THAT(other.err, HasSubstr("no video input 1"));
    }
    EXPECT_EQ(Image(camsim, {"--input", "-1"}).status, 2);

    camsim.post("/faults", {{"path", "/cgi-bin/image_adjust"}, {"kind", "status"}, {"status", 403}});
    const SRun refused = Image(camsim, {"brightness=5"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("403"));
}

TEST(Image, WhatFailsIsToldWithItsOwnCause) {
    const CCamsim camsim({"--model", "F320"}); // whose exposure forbids wide dynamic range
    camsim.patch("/cameras/0/settings", {{"ALCELC", "alc"}, {"MEGASD", "1"}, {"BLC", "0"}});
    camsim.post("/faults", {{"path", "/cgi-bin/absctrl*"}, {"kind", "status"}, {"status", 503}});
    const SRun run = Image(camsim, {"focus=20", "backLight=on", "wideDynamicRange=on"}, false);
    EXPECT_EQ(run.status, 1);
    const std::size_t second = run.err.find("setVpaBackLightComp");
    ASSERT_NE(second, std::string::npos) << run.err;
    EXPECT_THAT(run.err.substr(0, second), HasSubstr("503"));
    EXPECT_THAT(run.err.substr(second), AllOf(Not(HasSubstr("503")), HasSubstr("Super Dynamic"),
                                              HasSubstr("fixed by size or exposure at the moment")));

    camsim.post("/faults", {{"path", "/cgi-bin/absget*"}, {"kind", "status"}, {"status", 503}});
    const SRun unread = Image(camsim, {});
    EXPECT_EQ(unread.status, 1);
    EXPECT_EQ(json::parse(unread.out).at("adjustments").at("focus").at("text"), "Property is not found");
    EXPECT_THAT(unread.err, AllOf(HasSubstr("getLensFocus"), HasSubstr("503")));
    camsim.erase("/faults");
    camsim.post("/faults", {{"path", "/cgi-bin/setdata"}, {"kind", "status"}, {"status", 503}});
    EXPECT_EQ(Image(camsim, {"brightness=30"}).status, 1); // set, but nobody knows to what
}

} // namespace
} // namespace corvane::vornhost_test
