#include "tests/vornhost/site_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A// A site of three of a simulator's cameras, and one that is not there.
class Site : public testing::Test, protected CSiteOfCamsim {
protected:
    Site()
        : CSiteOfCamsim(
              {"--count", "3", "--model", "D850", "--model", "GXE500", "--model", "L115", "--no-rtsp"}) {
        camera(0).update({{"name", "gate"}, {"model", "D850"}, {"tags", json::array({"outside"})}});
        camera(1)["name"] = "hall";
        camera(2).update({{"name", "desk"}, {"tags", json::array({"outside"})}});
        file["cameras"].push_back({{"name", "gone"}, {"address", "127.0.0.1:9"}, {"model", "F320"}});
    }

    static json wish(const std::string& resolution) {
        return json::array({{{"stream", "0,h264,0"}, {"record", {{"resolution", resolution}}}}});
    }
};

TEST_F(Site, CheckTellsWhatDiffersAndWritesNothing) {
    camera(0)["streams"] = wish("640x360");
    camera(0)["adjustments"] = {{"brightness", "60"}};
    camera(1)["adjustments"] = {{"brightness", "50"}};
    const auto told = lines("check", 1);
    ASSERT_EQ(told.size(), 5U);
    EXPECT_EQ(told.at("gate").at("state"), "differs");
    EXPECT_EQ(told.at("gate").at("address"), camsim.address());
    EXPECT_EQ(told.at("gate").at("differences"),
              (json{{{"of", "stream 0,h264,0"},
                     {"field", "resolution"},
                     {"wanted", "640x360"},
                     {"camera", "1280x720"}},
                    {{"of", "adjustments"}, {"field", "brightness"}, {"wanted", "60"}, {"camera", "50"}}}));
    EXPECT_EQ(told.at("hall").at("state"), "same");
    EXPECT_EQ(told.at("desk").at("state"), "same");
    EXPECT_EQ(told.at("gone").at("problem").at("cause"), "refused");
    json summary = told.at("");
    summary.erase("ms");
    EXPECT_EQ(summary, (json{{"summary", true},
                             {"cameras", 4},
                             {"same", 2},
                             {"differs", 1},
                             {"changed", 0},
                             {"notAccepted", 0},
                             {"fault", 1},
                             {"ignored", 0},
                             {"causes", {{"refused", 1}}}}));
    EXPECT_THAT(written(), IsEmpty());

    const SRun forEyes = run("check");
    EXPECT_EQ(forEyes.status, 1);
    EXPECT_LT(forEyes.out.find("gone"), forEyes.out.find("gate")) << forEyes.out; // worst first
    EXPECT_THAT(forEyes.out,
                AllOf(Not(HasSubstr("hall")), HasSubstr("4 cameras, 2 same, 1 differs, 1 fault")));
}

TEST_F(Site, WhatIsIgnoredCountsAgainFromItsDayOn) {
    camera(0)["adjustments"] = {{"brightness", "60"}};
    camera(2)["adjustments"] = {{"brightness", "60"}};
    const json ignore = {{"of", "adjustments.brightness"}, {"reason", "night"}, {"until", "2999-01-01"}};
    camera(0)["ignore"] = json::array({ignore});
    camera(2)["ignore"] = json::array({ignore});
    camera(2)["ignore"][0]["until"] = "2020-01-01";
    const auto told = lines("check", 1, {"--only", "gate", "--only", "d?sk"});
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told.at("gate").at("state"), "same");
    EXPECT_EQ(told.at("desk").at("state"), "differs");
    EXPECT_EQ(told.at("").at("ignored"), 1);
    EXPECT_EQ(lines("check", 0, {"--only", "gate"}).at("").at("same"), 1);
}

TEST_F(Site, ACameraWithAnotherSerialNumberIsAskedNothingMore) {
    const json cameras = camsim.get("/cameras").at("cameras");
    camera(0)["serialNumber"] = cameras[0].at("serial");
    camera(2)["serialNumber"] = cameras[1].at("serial");
    camera(2)["streams"] = wish("640x480");
    const auto told = lines("check", 1, {"--only", "tag:outside"});
    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told.at("gate").at("state"), "same");
    EXPECT_EQ(told.at("desk").at("problem").at("cause"), "not-a-camera");
    EXPECT_EQ(told.at("desk").at("problem").at("answered"),
              "serial number " + cameras[2].at("serial").get<std::string>());
    const json log = camsim.get("/requests?camera=2");
    for (const json& request : log.at("requests"))
        EXPECT_THAT(request.at("path").get<std::string>(), HasSubstr("/cgi-bin/getinfo"));
}

TEST_F(Site, ListHasALineForEachCameraInTheFilesOrder) {
    const SRun ended = run("list");
    EXPECT_EQ(ended.status, 1);
    std::size_t from = 0;
    for (const char* row :
         {"gate", "PX-D850", "2.10", "hall", "GXE500", "desk", "PX-L115", "gone", "refused"}) {
        const std::size_t found = ended.out.find(row, from);
        ASSERT_NE(found, std::string::npos) << row << ended.out;
        from = found;
    }
    EXPECT_EQ(lines("list", 1).at("desk").at("firmware"), "1.33");
}

TEST_F(Site, AFaultOfOneIsItsOwn) {
    for (std::size_t place : {0U, 1U, 2U})
        camera(place)["adjustments"] = {{"brightness", "50"}};
    camsim.post("/faults",
                {{"path", "/cgi-bin/get_capability"}, {"kind", "status"}, {"status", 503}, {"camera", 1}});
    const auto told = lines("check", 1);
    EXPECT_EQ(told.at("hall").at("problem").at("cause"), "busy") << told.at("hall");
    EXPECT_EQ(told.at("gate").at("state"), "same");
    EXPECT_EQ(told.at("desk").at("state"), "same");
}

// As `vornhost identify` tells it.
TEST_F(Site, WhyACameraCannotBeAskedOrTakenIsToldOfEach) {
    camsim.post("/faults", {{"name", "identify-unknown-model"}, {"camera", 1}});
    const json unknown = lines("check", 1, {"--only", "hall"}).at("hall").at("problem");
    EXPECT_EQ(unknown.at("cause"), "unknown-model");
    EXPECT_THAT(unknown.at("asked"), HasSubstr("/cgi-bin/getinfo"));
    EXPECT_THAT(unknown.at("answered"), HasSubstr("NAME=PX-Z999"));

    file["defaults"].erase("credentials");
    const auto untold = lines("check", 1, {"--no-credentials", "--only", "gate", "--only", "desk"});
    for (const char* name : {"gate", "desk"}) { // with a model in the file, and without
        EXPECT_EQ(untold.at(name).at("problem").at("cause"), "no-credentials") << untold.at(name);
        EXPECT_EQ(untold.at(name).at("problem").at("certain"), true);
    }
}

TEST_F(Site, TheDoctorHoldsACameraAgainstItsEntry) {
    camera(0)["adjustments"] = {{"brightness", "60"}};
    camera(2)["adjustments"] = {{"brightness", "50"}};
    const std::string path = folder.file("site.json", file.dump());
    const auto drift = [&](const std::string& address) {
        for (const json& line : JsonLines(Vornhost({"--json", "doctor", "--site", path, address}).out))
            if (line.value("check", "") == "drift")
                return line;
        return json();
    };
    EXPECT_EQ(drift(camsim.addresses()[0]).value("result", ""), "fault");
    EXPECT_EQ(drift(camsim.addresses()[2]).value("result", ""), "ok");
    const SRun absent = Vornhost({"doctor", "--site", path, "127.0.0.1:10"});
    EXPECT_EQ(absent.status, 2);
    EXPECT_THAT(absent.err, HasSubstr("the site has no camera at 127.0.0.1:10"));
}

TEST_F(Site, WrongFilesAndChoicesAreRefusedBeforeAnybodyIsAsked) {
    EXPECT_THAT(run("check", {"--only", "nobody"}).err, HasSubstr("--only chooses no camera of the site"));
    file["cameras"][0]["adress"] = "x";
    const SRun refused = run("check", {"--json"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(JsonLines(refused.out).at(0).at("problem").at("cause"), "wrong-file");
    EXPECT_THAT(refused.err,
                AllOf(HasSubstr("line 1, column "), HasSubstr("cameras[0].adress: unknown member"),
                      HasSubstr("did you mean address?")));
    const SRun torn = Vornhost({"site", "check", folder.file("torn.json", "{\"\xFF\": 1}")});
    EXPECT_EQ(torn.status, 2);
    EXPECT_THAT(torn.err, AllOf(HasSubstr("line 1, column 3"), Not(HasSubstr("\xFF"))));
    EXPECT_THAT(camsim.requestedPaths(), IsEmpty());
}

} // namespace
} // namespace corvane::vornhost_test
