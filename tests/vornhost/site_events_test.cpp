#include "tests/vornhost/site_support.h"

#include <sys/resource.h>

#include <set>

namespace corvane::vornhost_test {
namespace {

using testing::HasSubstr;

// The next line that has these members, of those that come.
json NextLine(CProgram& program, const json& members) {
    for (;;) {
        const json line = json::parse(program.readLine());
        json merged = line;
        merged.update(members);
        if (merged == line)
            return line;
    }
}

TEST(SiteEvents, EachChangeIsToldOnceAndEachGap) {
    CSiteOfCamsim site(
        {"--count", "3", "--model", "D850", "--model", "D850", "--model", "L115", "--no-rtsp"});
    site.camera(0)["inputs"] = json::array({0, 2});
    site.camera(1)["inputs"] = json::array({1});
    site.file["cameras"].push_back({{"name", "gone"}, {"address", "127.0.0.1:9"}});
    CProgram program("vornhost", site.arguments("events", {"--json"}));
    std::map<std::string, int> first;
    std::string gone;
    while (first.size() < 4 || gone.empty()) { // L115 has one input, and all are watched
        const json line = json::parse(program.readLine());
        if (line.at("event") == "camera")
            gone = line.at("problem").at("cause");
        else
            EXPECT_EQ(++first[line.at("name").get<std::string>() + line.at("input").dump()], 1) << line;
    }
    EXPECT_EQ(gone, "refused");
    EXPECT_EQ(first, (std::map<std::string, int>{{"c00", 1}, {"c02", 1}, {"c11", 1}, {"c20", 1}}));

    site.camsim.patch("/cameras/0/inputs", {{"1", "Low"}, {"2", "Low"}}); // the second is not watched
    json line = json::parse(program.readLine());
    EXPECT_EQ(line.at("name"), "c0");
    EXPECT_EQ(line.at("input"), 0);
    EXPECT_EQ(line.at("state"), 1);

    site.camsim.post("/cameras/1/reboot", json::object());
    line = json::parse(program.readLine());
    EXPECT_EQ(line.at("name"), "c1");
    EXPECT_EQ(line.at("event"), "camera");
    EXPECT_EQ(line.at("state"), "down");
    EXPECT_TRUE(line.contains("problem"));
    line = json::parse(program.readLine());
    EXPECT_EQ(line.at("state"), "up") << line;
    EXPECT_FALSE(line.contains("problem"));
    site.camsim.patch("/cameras/1/inputs", {{"2", "Low"}});
    line = json::parse(program.readLine()); // and not once more what was told before the gap
    EXPECT_EQ(line.at("name"), "c1") << line;
    EXPECT_EQ(line.at("state"), 1) << line;

    program.signal(SIGINT);
    program.awaitSignalTaken();
    const SRun ended = program.wait();
    EXPECT_EQ(ended.status, 1) << ended.err; // one is still lost
    EXPECT_EQ(ended.out, "");
    const json log = site.camsim.get("/requests");
    for (const json& request : log.at("requests"))
        EXPECT_EQ(request.at("method"), "GET");
}

// The streams of a camera share the request for its levels, and those that come late miss its first report.
TEST(SiteEvents, NoLevelIsToldThatTheCameraHasNot) {
    CSiteOfCamsim site({"--count", "4", "--model", "D850", "--no-rtsp"});
    for (int camera = 0; camera < 4; ++camera)
        site.camsim.patch("/cameras/" + std::to_string(camera) + "/inputs",
                          {{"1", "Low"}, {"2", "Low"}, {"3", "Low"}});
    const SRun watched = site.run("events", {"--seconds", "7"}); // the camera repeats its levels after 5
    std::map<std::string, int> inputs;
    for (const json& line : JsonLines(watched.out)) {
        EXPECT_EQ(line.value("state", 0), 1) << line;
        ++inputs[line.value("name", "")];
    }
    EXPECT_EQ(inputs, (std::map<std::string, int>{{"c0", 3}, {"c1", 3}, {"c2", 3}, {"c3", 3}}));
}

// By default a process may have 1,024 files open, which some 80 such cameras need; here fewer for fewer.
TEST(SiteEvents, TheUsualLimitOfOpenFilesStopsNobody) {
    const CSiteOfCamsim site({"--count", "8", "--model", "D850", "--no-rtsp"});
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit few{40, usual.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    CProgram program("vornhost", site.arguments("events", {"--json"}));
    setrlimit(RLIMIT_NOFILE, &usual);
    std::set<std::string> watched;
    while (watched.size() < 24) {
        const json line = json::parse(program.readLine());
        if (line.at("event") != "camera")
            watched.insert(line.at("name").get<std::string>() + " " + line.at("input").dump());
        const json problem = line.value("problem", json::object()); // of a camera that is slow, if at all
        ASSERT_NE(problem.value("cause", ""), "limit") << line;
    }
    program.signal(SIGINT);
    (void)program.wait();
}

// The plug-in's element shows a state even where nobody has told one.
TEST(SiteEvents, WhatIsNoMonitorTellsNoState) {
    CSiteOfCamsim site({"--count", "4", "--model", "D850", "--no-rtsp"});
    site.camera(3)["inputs"] = json::array({7});
    site.camsim.post("/faults", {{"name", "monitor-html"}, {"camera", 0}});
    site.camsim.post("/faults", {{"name", "monitor-silent"}, {"camera", 1}});
    site.camsim.patch("/authentication", {{"password", "another"}});
    CProgram refused("vornhost", site.arguments("events", {"--only", "c2", "--json"}));
    EXPECT_EQ(NextLine(refused, {{"event", "camera"}}).at("problem").at("cause"), "wrong-password");
    refused.signal(SIGINT);
    EXPECT_EQ(refused.wait().status, 1);
    site.camsim.patch("/authentication", {{"password", "12345"}});

    CProgram program("vornhost", site.arguments("events", {"--only", "c[013]", "--json"}));
    std::map<std::string, std::string> causes;
    while (causes.size() < 3) {
        const json line = json::parse(program.readLine());
        ASSERT_EQ(line.at("event"), "camera") << line;
        causes[line.at("name")] = line.at("problem").at("cause");
    }
    EXPECT_EQ(causes["c0"], "monitor-refused");
    EXPECT_EQ(causes["c1"], "monitor-silent");
    EXPECT_EQ(causes["c3"], "not-supported");
    site.camsim.erase("/faults?name=monitor-html");
    EXPECT_EQ(NextLine(program, {{"name", "c0"}}).at("state"), "up");
    program.signal(SIGINT);
    (void)program.wait();
}

TEST(SiteInit, TellsWhoIsNoCameraAndKeepsThePasswordOut) {
    const CCamsim camsim({"--count", "3", "--no-rtsp"});
    camsim.post("/faults", {{"name", "web-html"}, {"camera", 1}});
    const SRun made = Vornhost(
        {"site", "init", camsim.addresses()[0], camsim.addresses()[1], camsim.addresses()[2], "127.0.0.1:9"},
        "", {{"VORNHOST_USER", "admin"}, {"VORNHOST_PASSWORD", "12345"}});
    EXPECT_EQ(made.status, 1);
    const json site = json::parse(made.out);
    ASSERT_EQ(site.at("cameras").size(), 2U) << made.out;
    EXPECT_EQ(site.at("cameras")[1].at("address"), camsim.addresses()[2]);
    EXPECT_FALSE(site.contains("credentials"));
    EXPECT_THAT(made.err, HasSubstr("not-a-camera at 1 address: " + camsim.addresses()[1]));
    EXPECT_THAT(made.err, HasSubstr("refused at 1 address: 127.0.0.1:9"));
}

// Of a range it is told who answers, not who might.
TEST(SiteInit, ARangeMayHaveHolesAndAThousandTakeSeconds) {
    const CCamsim camsim(
        {"--listen", "127.0.7.1:18080", "--count", "3", "--addresses", "consecutive-hosts", "--no-rtsp"});
    const SRun made = Vornhost({"site", "init", "--json", "127.0.4.0/22:18080"});
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(json::parse(made.out).at("cameras").size(), 3U);
    EXPECT_THAT(made.err, HasSubstr("refused at 1019 addresses: 127.0.4.1:18080 "));
}

TEST(SiteDoctor, CountsTheCausesOfAll) {
    CSiteOfCamsim site({"--count", "3", "--model", "L115", "--rtsp-port", "0"});
    site.file["cameras"].push_back({{"name", "gone"}, {"address", "127.0.0.1:9"}});
    site.camsim.post("/faults", {{"name", "settings-html"}, {"camera", 0}});
    site.camsim.post("/faults", {{"name", "settings-html"}, {"camera", 1}});
    site.camera(2)["serialNumber"] = "another";
    const auto told = site.lines("doctor", 1);
    const json log = site.camsim.get("/requests?camera=2"); // it is asked nothing more
    for (const json& request : log.at("requests"))
        EXPECT_THAT(request.at("path").get<std::string>(), HasSubstr("/cgi-bin/getinfo"));
    EXPECT_EQ(told.at("").at("causes"), (json{{"not-a-camera", 3}, {"refused", 1}}));
    EXPECT_THAT(told.at("c2").at("problem").at("answered"), HasSubstr("serial number L11500003"));
    EXPECT_EQ(told.at("c0").at("problem").at("cause"), "not-a-camera");
    EXPECT_EQ(told.at("c0").at("checks")[0].at("check"), "settings");
    const SRun forEyes = site.run("doctor", {"--only", "c[01]", "--only", "gone"});
    EXPECT_THAT(forEyes.out, HasSubstr("2 cameras: not a camera; 1: refused\n"));
}

TEST(SiteDoctor, CtrlCEndsAfterWhatIsUnderWayAndTellsWhatWasFound) {
    CSiteOfCamsim site({"--count", "2", "--model", "L115", "--rtsp-port", "0"});
    const auto [told, summary] = site.interrupted("doctor", "/cgi-bin/setdata");
    EXPECT_EQ(told.at("name"), "c0");
    EXPECT_EQ(summary.at("cameras"), 1);
    EXPECT_EQ(summary.at("notDone"), 1);
}

} // namespace
} // namespace corvane::vornhost_test
