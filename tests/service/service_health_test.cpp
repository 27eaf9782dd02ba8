// What the service makes of cameras that fail, go away and come back.

#include "tests/service/served_site.h"

#include <gmock/gmock.h>

namespace corvane::service_test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(ServiceHealth, EachFaultHasItsStateAndCause) {
    const struct {
        const char* fault;
        const char* state;
        const char* cause;
    } faults[] = {{"web-refused", "down", "refused"},
                  {"web-silent", "down", "no-answer"},
                  {"web-closed", "down", "dropped"},
                  {"web-tls", "down", "tls"},
                  {"web-ssh", "degraded", "not-http"},
                  {"web-html", "degraded", "not-a-camera"},
                  {"identify-unknown-model", "degraded", "unknown-model"},
                  {"identify-forbidden", "degraded", "forbidden"},
                  {"wrong-password", "degraded", "wrong-password"},
                  {"settings-unavailable", "degraded", "busy"},
                  {"monitor-html", "degraded", "monitor-refused"},
                  {"stream-delivery-off", "up", "stream-off"},
                  {"clock-leaps", "up", ""}};
    const int count = static_cast<int>(std::size(faults));
    const CServedSite site({"--count", std::to_string(count), "--no-rtsp"}, [&](const CServedSite& made) {
        for (int i = 0; i < count; ++i)
            made.camsim.post("/faults", {{"name", faults[i].fault}, {"camera", i}});
    });
    for (int i = 0; i < count; ++i) {
        const json camera = site.awaitState("c" + std::to_string(i), faults[i].state);
        const std::string cause = camera.contains("problem") ? camera["problem"].value("cause", "") : "";
        EXPECT_EQ(cause, faults[i].cause) << camera;
    }
    const CHttpClient client = site.client(site.view);
    const json told = client.get("/api/v1/site").object();
    EXPECT_EQ(told.at("states"), (json{{"unknown", 0}, {"up", 2}, {"degraded", 7}, {"down", 4}}));
    EXPECT_EQ(client.get("/api/v1/cameras?state=down").object().at("cameras").size(), 4U);
    EXPECT_EQ(client.get("/readyz").status, 200);

    // One that is down has an answer all the same.
    const json down = client.get("/api/v1/cameras/c0").object();
    EXPECT_EQ(down.at("streams"), json::array());
    EXPECT_EQ(down.at("problem").at("cause"), "refused");
    const SReply call = client.send("POST", "/api/v1/cameras/c0/calls", {{"operation", "getCameraName"}});
    EXPECT_EQ(call.status, 503);
    EXPECT_EQ(call.object().at("problem").at("cause"), "refused");
}

// Of two cameras one tells its inputs by itself, and of the other only the probes know.
TEST(ServiceHealth, GoingAndComingBackIsToldEachTime) {
    CServedSite site({"--count", "3", "--no-rtsp"},
                     [](CServedSite& made) { made.file["cameras"][1]["inputs"] = json::array(); });
    for (const char* name : {"c0", "c1", "c2"})
        site.awaitState(name, "up");
    site.awaitLevels("c0", 3);
    CEventClient events(site.client(site.view), "?only=c%5B01%5D");
    for (int i = 0; i < 2; ++i)
        site.camsim.post("/faults", {{"name", "web-refused"}, {"camera", i}});
    std::map<std::string, std::vector<std::string>> told;
    const auto take = [&](std::size_t most) {
        while (told["c0"].size() < most || told["c1"].size() < most) {
            const json data = events.next("camera").data;
            told[data.at("name")].push_back(
                data.at("state").get<std::string>() +
                (data.contains("problem") ? " " + data["problem"].value("cause", "") : ""));
        }
    };
    take(1);
    EXPECT_EQ(site.camera("c1").at("state"), "down");
    site.camsim.erase("/faults");
    take(2);
    const std::vector<std::string> both{"down restarting", "up"};
    EXPECT_EQ(told, (std::map<std::string, std::vector<std::string>>{{"c0", both}, {"c1", both}}));

    const json history = site.client(site.view).get("/api/v1/cameras/c1/history").object();
    std::vector<std::string> states;
    for (const json& one : history.at("states"))
        states.push_back(one.at("state"));
    EXPECT_EQ(states, (std::vector<std::string>{"up", "down", "up"}));

    // Nor is it told of an input that it stayed as it was while nobody heard it.
    const std::vector<std::string> levels{"unknown", "active", "unknown", "active"};
    std::vector<std::string> noted;
    EXPECT_TRUE(WaitUntil([&] {
        const json hour = site.client(site.view).get("/api/v1/cameras/c0/history").object();
        noted.clear();
        for (const json& one : hour.at("inputs"))
            if (one.at("input") == 0)
                noted.push_back(one.at("state"));
        return noted == levels;
    })) << testing::PrintToString(noted);
}

// Whatever clients ask, and however often the camera is probed meanwhile.
TEST(ServiceHealth, AWrongPasswordIsNotTriedAgainForWhoAsks) {
    const CServedSite site({"--no-rtsp"}, [](const CServedSite& made) {
        made.camsim.post("/faults", {{"name", "wrong-password"}});
    });
    site.await("c0", {{"state", "degraded"}, {"problem", {{"cause", "wrong-password"}}}});
    const auto count = [&](bool isTry) {
        const json log = site.camsim.get("/requests");
        return std::count_if(log.at("requests").begin(), log.at("requests").end(), [isTry](const json& one) {
            return (one.at("authorization") != "none") == isTry;
        });
    };
    const auto tries = count(true);
    EXPECT_LE(tries, 2);
    // Slower than a probe waits, and not than a look does.
    site.camsim.post("/faults", {{"path", "/*"}, {"kind", "delay"}, {"ms", 3500}, {"unauthorized", true}});
    const auto probes = count(false);
    const CHttpClient client = site.client(site.admin);
    const auto askAll = [&] {
        for (const char* path : {"", "/requests", "/history", "/picture.jpg"})
            (void)client.get(std::string("/api/v1/cameras/c0") + path);
        for (const char* path : {"/check", "/sync"})
            (void)client.send("POST", std::string("/api/v1/cameras/c0") + path);
        (void)client.send("POST", "/api/v1/cameras/c0/calls", {{"operation", "getCameraName"}});
        (void)client.send("POST", "/api/v1/cameras/c0/move", {{"pan", 1}});
        (void)client.send("PATCH", "/api/v1/cameras/c0/adjustments", {{"brightness", 60}});
    };
    EXPECT_TRUE(WaitUntil([&] {
        askAll();
        return count(false) >= probes + 5;
    }));
    EXPECT_EQ(count(true), tries);
}

// Long before the next look is due.
TEST(ServiceHealth, SettingsThatCannotBeReadAnyMoreAreToldAtOnce) {
    const CServedSite site({"--no-rtsp"}, [](CServedSite& made) {
        made.file["cameras"][0]["model"] = "F320";
        made.file["cameras"][0]["inputs"] = json::array();
    });
    const json first = site.awaitState("c0", "up");
    EXPECT_NE(first.at("serialNumber"), ""); // which nobody had to ask to know the camera
    const auto read = [&] {
        (void)site.client(site.view).send("POST", "/api/v1/cameras/c0/calls",
                                          {{"operation", "setting.getDetailsFromSetdata"}});
    };
    site.camsim.post("/faults", {{"name", "settings-unavailable"}});
    read();
    site.await("c0", {{"state", "degraded"}, {"problem", {{"cause", "busy"}}}});
    site.camsim.erase("/faults");
    read();
    site.awaitState("c0", "up");
}

// More than there are places for looks, first in the file: each holds one for as long as a look is patient.
TEST(ServiceHealth, SilentCamerasDelayNoFirstLook) {
    constexpr int Silent = 100;
    const std::string last = "c" + std::to_string(Silent);
    const auto silence = [](const CServedSite& made) {
        for (int i = 0; i < Silent; ++i)
            made.camsim.post("/faults", {{"name", "web-silent"}, {"camera", i}});
    };
    const CServedSite site({"--count", std::to_string(Silent + 1), "--no-rtsp"}, silence);
    site.awaitState(last, "up");
    const json states = site.client(site.view).get("/api/v1/site").object().at("states");
    EXPECT_EQ(states, (json{{"unknown", Silent}, {"up", 1}, {"degraded", 0}, {"down", 0}}));
}

// A camera that answers nothing holds up neither the others nor the end.
TEST(ServiceHealth, SilentCamerasHoldUpNobody) {
    constexpr int Silent = 5;
    const CServedSite site({"--count", std::to_string(Silent + 1), "--no-rtsp"});
    for (int i = 0; i <= Silent; ++i)
        site.awaitState("c" + std::to_string(i), "up");
    const std::string body = R"({"operation":"setting.getDetailsFromSetdata"})";
    std::vector<CRawConnection> waiting;
    for (int i = 0; i < Silent; ++i) {
        site.camsim.post("/faults", {{"path", "*"}, {"kind", "delay"}, {"ms", 3600000}, {"camera", i}});
        for (int call = 0; call < 16; ++call) { // as many as a camera may have
            waiting.emplace_back(site.address);
            waiting.back().write("POST /api/v1/cameras/c" + std::to_string(i) +
                                 "/calls HTTP/1.1\r\nHost: " + site.address + "\r\nAuthorization: Bearer " +
                                 site.operate + "\r\nContent-Type: application/json\r\nContent-Length: " +
                                 std::to_string(body.size()) + "\r\n\r\n" + body);
        }
    }
    const auto isAsked = [&](int camera) {
        const json log = site.camsim.get("/requests?camera=" + std::to_string(camera));
        const json& last = log.at("requests").back();
        return last.at("status").is_null() && last.at("path") == "/cgi-bin/setdata";
    };
    for (int i = 0; i < Silent; ++i)
        EXPECT_TRUE(WaitUntil([&] { return isAsked(i); })) << i;
    const CHttpClient client = site.client(site.operate);
    for (const char* path : {"/api/v1/cameras/c5", "/api/v1/operations", "/api/v1/cameras"})
        EXPECT_EQ(client.get(path).status, 200);
    for (int i = 0; i < Silent; ++i)
        EXPECT_TRUE(isAsked(i)) << i; // and all this time
    const auto begin = std::chrono::steady_clock::now();
    site.program->signal(SIGTERM);
    const SRun ended = site.program->wait();
    EXPECT_EQ(ended.status, 0) << ended.err;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4)); // a request waits longer
}

} // namespace
} // namespace corvane::service_test
