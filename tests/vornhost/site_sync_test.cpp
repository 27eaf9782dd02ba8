#include "tests/vornhost/site_support.h"

#include <chrono>
#include <random>
#include <thread>

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;

const std::vector<std::string> EachModel{"--count", "6",       "--model", "D850",    "--model",
                                         "D870",    "--model", "F320",    "--model", "GXE500",
                                         "--model", "L115",    "--model", "S202",    "--no-rtsp"};

json StreamWish(const std::string& stream, const json& record) {
    return json::array({{{"stream", stream}, {"record", record}}});
}

TEST(SiteSync, WhatIsThereIsTheWishUntilItIsChangedAndSetOnce) {
    CSiteOfCamsim site(EachModel);
    std::vector<std::string> init{"--user", "admin", "--password-file", site.folder.file("password"),
                                  "site",   "init",  "--with-settings", "--json"};
    for (const std::string& address : site.camsim.addresses())
        init.push_back(address);
    const SRun made = Vornhost(init);
    ASSERT_EQ(made.status, 0) << made.err;
    site.file = json::parse(made.out);
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(site.camera(i).at("serialNumber"),
                  site.camsim.get("/cameras").at("cameras")[i].at("serial"));
    EXPECT_EQ(site.lines("check", 0).at("").at("same"), 6);
    EXPECT_EQ(site.lines("sync", 0).at("").at("same"), 6);
    EXPECT_THAT(site.written(), IsEmpty());

    for (std::size_t i = 0; i < 6; ++i) {
        site.camera(i)["adjustments"]["brightness"] = "62";
        const std::string first = site.camera(i).at("model") == "L115" ? ",mpeg4,0" : ",h264,0";
        for (json& wish : site.camera(i)["streams"]) // of an encoder the channels have it in common
            if (wish.at("stream").get<std::string>().substr(1) == first)
                wish["record"]["frameRate"] = "10";
    }
    EXPECT_EQ(site.lines("check", 1).at("").at("differs"), 6);
    EXPECT_EQ(site.lines("sync", 1, {"--dry-run"}).at("").at("differs"), 6);
    EXPECT_THAT(site.written(), IsEmpty());
    const auto set = site.lines("sync", 0);
    EXPECT_EQ(set.at("").at("changed"), 6);
    const json& first = set.at(site.camera(0).at("name"));
    EXPECT_EQ(first.at("changes")[0], (json{{"of", "stream 0,h264,0"},
                                            {"field", "frameRate"},
                                            {"asked", "10"},
                                            {"was", "30"},
                                            {"is", "10"}}));
    // A stream and an adjustment of each; MPEG-4 takes its frame rate by a request of its own.
    EXPECT_THAT(site.written(), SizeIs(13));
    EXPECT_EQ(site.lines("check", 0).at("").at("same"), 6);
    EXPECT_EQ(site.lines("sync", 0).at("").at("same"), 6);
    EXPECT_THAT(site.written(), IsEmpty());
}

TEST(SiteSync, WhatACameraRoundsIsTheSameForThatWishAndThatValue) {
    CSiteOfCamsim site({"--count", "2", "--model", "D850", "--no-rtsp"});
    // Its frame rate becomes another, and the distance as many seconds at that.
    site.camera(1)["streams"] = StreamWish("0,h264,0", {{"frameRate", "25"}, {"keyFrameInterval", "25"}});
    site.camera(0)["adjustments"] = {{"brightness", "33"}};
    site.camera(0)["streams"] = StreamWish("0,h264,0", {{"frameRate", "14"}, {"keyFrameInterval", "20"}});
    EXPECT_EQ(site.lines("check", 1).at("c0").at("differences").size(), 3U);
    const json changes = site.lines("sync", 0).at("c0").at("changes");
    EXPECT_EQ(changes[0].at("is"), "15");
    EXPECT_EQ(changes[1].at("is"), "15");
    EXPECT_EQ(changes[2].at("is"), "32");
    (void)site.written();
    EXPECT_EQ(site.lines("check", 0).at("").at("same"), 2);
    EXPECT_EQ(site.lines("sync", 0).at("").at("same"), 2);
    EXPECT_THAT(site.written(), IsEmpty());

    // It is forgotten when the wish changes, or the camera.
    site.camera(0)["adjustments"]["brightness"] = "34";
    EXPECT_EQ(site.lines("check", 1).at("c0").at("differences")[0].at("wanted"), "34");
    site.camera(0)["adjustments"]["brightness"] = "33";
    EXPECT_EQ(site.lines("check", 0).at("c0").at("state"), "same");
    site.camsim.patch("/cameras/0/settings", {{"BRIGHTNESS", "90"}});
    EXPECT_EQ(site.lines("check", 1).at("c0").at("differences")[0].at("camera"), "35");
}

TEST(SiteSync, WhatACameraDoesNotTakeIsToldAndWhatItCannotHaveIsNotSent) {
    CSiteOfCamsim site({"--count", "4", "--model", "D850", "--model", "D850", "--model", "S202", "--model",
                        "D850", "--no-rtsp"});
    for (std::size_t i = 0; i < 4; ++i)
        site.camera(i)["adjustments"] = {{"brightness", "60"}};
    site.camera(1)["streams"] = StreamWish("0,h264,0", {{"frameRate", "1000"}});
    site.camera(2)["adjustments"]["focus"] = "10"; // which it has not
    site.camera(3)["serialNumber"] = "D85000001";  // that of the first
    site.camsim.post("/faults", {{"name", "write-ignored"}, {"camera", 0}});
    const auto told = site.lines("sync", 1);
    EXPECT_EQ(told.at("c0").at("state"), "not-accepted");
    EXPECT_EQ(
        told.at("c0").at("differences"),
        json::array({{{"of", "adjustments"}, {"field", "brightness"}, {"wanted", "60"}, {"camera", "50"}}}));
    EXPECT_EQ(told.at("c1").at("problem").at("cause"), "wrong-value");
    EXPECT_EQ(told.at("c2").at("problem").at("cause"), "not-supported");
    EXPECT_EQ(told.at("c3").at("problem").at("cause"), "not-a-camera");
    EXPECT_EQ(told.at("").at("notAccepted"), 1);
    EXPECT_THAT(site.written(), ElementsAre(0));
}

TEST(SiteSync, AWishThatNoCameraOfTheModelCanHaveIsAFaultOfItsOwn) {
    const struct {
        const char* model;
        const char* stream;
        json record;
        const char* cause;
    } rows[] = {
        {"D850", "3,h264,0", {{"frameRate", "10"}}, "not-supported"},  // no such input
        {"S202", "0,mpeg4,0", {{"frameRate", "10"}}, "not-supported"}, // no such codec
        {"D850", "0,mpeg4,0", {{"bitRate", "2048"}}, "not-supported"}, // is told, and cannot be set
        {"F320", "0,mjpeg,0", {{"resolution", "1x1"}}, "wrong-value"},
        {"F320", "0,h264,0", {{"resolution", "1920x1080"}}, "wrong-value"},
        {"D850", "0,h264,0", {{"resolution", "1280x1"}}, "wrong-value"}, // it is as wide
        {"F320", "0,h264,0", {{"quality", "77"}}, "not-supported"},
    };
    std::vector<std::string> camsim{"--no-rtsp", "--count", std::to_string(std::size(rows))};
    for (const auto& row : rows)
        camsim.insert(camsim.end(), {"--model", row.model});
    CSiteOfCamsim site(camsim);
    for (std::size_t i = 0; i < std::size(rows); ++i)
        site.camera(i)["streams"] = StreamWish(rows[i].stream, rows[i].record);
    const auto told = site.lines("sync", 1);
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const json& line = told.at("c" + std::to_string(i));
        EXPECT_EQ(line.value("/problem/cause"_json_pointer, line.value("state", "")), rows[i].cause) << line;
    }
    EXPECT_THAT(site.written(), IsEmpty());
}

TEST(SiteSync, APlanIsCarriedOutWhereNothingHasChangedSince) {
    CSiteOfCamsim site({"--count", "4", "--no-rtsp"});
    for (std::size_t i = 0; i < 3; ++i)
        site.camera(i)["adjustments"] = {{"brightness", "60"}};
    const std::string plan = site.folder.file("plan.json");
    EXPECT_EQ(site.lines("sync", 1, {"--dry-run", "--plan", plan}).at("").at("differs"), 3);
    EXPECT_THAT(site.written(), IsEmpty());
    site.camsim.patch("/cameras/1/settings", {{"BRIGHTNESS", "10"}});
    site.camera(3)["adjustments"] = {{"brightness", "20"}}; // of it nothing was wanted
    const auto told = site.lines("sync", 1, {"--plan", plan});
    ASSERT_EQ(told.size(), 5U);
    EXPECT_EQ(told.at("c0").at("state"), "changed");
    EXPECT_EQ(told.at("c1").at("problem").at("cause"), "differs");
    EXPECT_EQ(told.at("c2").at("state"), "changed");
    EXPECT_EQ(told.at("c3").at("problem").at("cause"), "differs");
    EXPECT_THAT(site.written(), UnorderedElementsAre(0, 2));

    site.camera(0)["name"] = "renamed";
    EXPECT_THAT(site.run("sync", {"--plan", plan}).err, HasSubstr("the plan has cameras that the site file"));
    const SRun damaged =
        site.run("sync", {"--plan", site.folder.file("bad.json", R"({"plan":[{"nam":"x"}]})")});
    EXPECT_EQ(damaged.status, 2);
    EXPECT_THAT(damaged.err, HasSubstr("bad.json: plan[0].nam: unknown member; expected one of name, "));
    EXPECT_THAT(site.written(), IsEmpty());
}

TEST(SiteSync, APlanThatCannotBeWrittenIsFoundOutBeforeAnybodyIsAsked) {
    const CSiteOfCamsim site({"--no-rtsp"});
    const SRun ended = site.run("sync", {"--dry-run", "--json", "--plan", site.folder.file("no/plan")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(JsonLines(ended.out).at(0).at("problem").at("cause"), "cannot-write");
    EXPECT_THAT(ended.err, HasSubstr("--plan: "));
    EXPECT_THAT(site.camsim.requestedPaths(), IsEmpty());
}

TEST(SiteSync, MayBeBoundAndTriedOnOneFirst) {
    CSiteOfCamsim site({"--count", "3", "--no-rtsp"});
    for (std::size_t i = 0; i < 3; ++i)
        site.camera(i)["adjustments"] = {{"brightness", "60"}};
    const SRun stopped = site.run("sync", {"--max-changes", "2", "--json"});
    EXPECT_EQ(stopped.status, 1);
    EXPECT_THAT(stopped.err,
                HasSubstr("3 cameras would change, and --max-changes allows 2; nothing was written"));
    EXPECT_EQ(JsonLines(stopped.out).back().at("differs"), 3);
    EXPECT_THAT(site.written(), IsEmpty());

    site.camsim.post("/faults", {{"name", "write-jumps-back"}, {"camera", 0}});
    const auto left = site.lines("sync", 1, {"--one-first"});
    EXPECT_EQ(left.at("c0").at("state"), "not-accepted");
    EXPECT_EQ(left.at("c0").at("changes")[0].at("is"), left.at("c0").at("differences")[0].at("camera"));
    EXPECT_EQ(left.at("c1").at("state"), "differs");
    EXPECT_THAT(site.written(), ElementsAre(0));

    site.camsim.erase("/faults");
    EXPECT_EQ(site.lines("sync", 0, {"--one-first", "--max-changes", "3"}).at("").at("changed"), 3);
    EXPECT_THAT(site.written(), UnorderedElementsAre(0, 1, 2));
}

// Whatever ends it, the next one finds what is left, and no camera has half of what belongs together.
TEST(SiteSync, WhatIsEndedInItsMidstIsFinishedByTheNext) {
    constexpr std::size_t Cameras = 20;
    CSiteOfCamsim site({"--count", std::to_string(Cameras), "--no-rtsp"});
    std::minstd_rand random(std::random_device{}());
    for (int round = 0; round < 20; ++round) {
        const std::string wanted = round % 2 == 0 ? "33" : "67";
        for (std::size_t i = 0; i < Cameras; ++i)
            site.camera(i)["adjustments"] = {{"brightness", wanted}};
        CProgram program("vornhost", site.arguments("sync", {"--json", "--jobs", "1"}));
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 200)); // any moment will do
        program.signal(SIGKILL);
        (void)program.wait();
        for (const json& line : JsonLines(site.run("check", {"--json"}).out))
            EXPECT_TRUE(line.contains("summary") || line.at("state") == "same" ||
                        line.at("state") == "differs")
                << line;
    }
    (void)site.lines("sync", 0);
    EXPECT_EQ(site.lines("check", 0).at("").at("same"), Cameras);
}

TEST(SiteSync, CtrlCEndsAfterWhatIsUnderWayAndTellsWhatWasDone) {
    CSiteOfCamsim site({"--count", "3", "--no-rtsp"});
    for (std::size_t i = 0; i < 3; ++i)
        site.camera(i)["adjustments"] = {{"brightness", "60"}};
    const auto [told, summary] = site.interrupted("sync", "/cgi-bin/image_adjust");
    EXPECT_EQ(told.at("state"), "changed");
    EXPECT_EQ(summary.at("notDone"), 2);
}

// Each fault of the catalogue at a camera of its own, beside fifty that have none.
TEST(SiteCheck, EachFaultIsToldWithItsCauseAndDelaysNobody) {
#if defined(VORN_UNDER_ASAN) || defined(VORN_UNDER_TSAN)
    constexpr std::size_t Step = 6; // a sample, under which everything takes longer
    constexpr std::size_t Healthy = 10;
#else
    constexpr std::size_t Step = 1;
    constexpr std::size_t Healthy = 50;
#endif
    std::vector<json> all;
    for (const json& row : JsonLines(RunProgram("camsim", {"faults", "--json"}).out)) {
        const std::string phase = row.at("phase");
        const std::string name = row.at("name");
        const bool isAsked =
            phase == "identify" || phase == "initialize" || phase == "capability" || phase == "settings";
        const bool isSeen = row.at("cause") != "authentication-weaker" &&
                            name != "settings-without-frame-rate" &&
                            name != "settings-without-transmission" && row.at("check") != "answer-times";
        if (isAsked && isSeen)
            all.push_back(row);
    }
    ASSERT_GT(all.size(), 80U);
    std::vector<json> rows;
    for (std::size_t i = 0; i < all.size(); i += Step)
        rows.push_back(all[i]);
    CSiteOfCamsim site({"--count", std::to_string(rows.size() + Healthy), "--model", "D850", "--no-rtsp"});
    for (std::size_t i = 0; i < rows.size(); ++i)
        site.camsim.post("/faults", {{"name", rows[i].at("name")}, {"camera", i}});
    site.file["defaults"]["streams"] = StreamWish("0,h264,0", {{"resolution", "640x360"}});
    // Few at once: on a busy machine a camera's 4 s are not to be over before it is asked.
    const auto told = site.lines("check", 1, {"--jobs", "16"});
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const json& line = told.at("c" + std::to_string(i));
        EXPECT_EQ(line.value("/problem/cause"_json_pointer, line.value("state", "")), rows[i].at("cause"))
            << rows[i] << line;
    }
    for (std::size_t i = rows.size(); i < rows.size() + Healthy; ++i) {
        const json& line = told.at("c" + std::to_string(i));
        EXPECT_EQ(line.at("state"), "differs") << line;
    }
}

} // namespace
} // namespace corvane::vornhost_test
