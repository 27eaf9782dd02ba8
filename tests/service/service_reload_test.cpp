// The site file while the service keeps it: read anew, refused, gone.

#include "tests/service/served_site.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

namespace corvane::service_test {
namespace {

TEST(ServiceReload, CamerasThatAreAsTheyWereKeepWhatTheyHave) {
    CServedSite site({"--count", "4", "--no-rtsp"}, [](CServedSite& made) { made.file["cameras"].erase(3); });
    for (const char* name : {"c0", "c1", "c2"}) // and are held against the file for the first time
        site.await(name, {{"state", "up"}, {"drift", {{"state", "same"}}}});
    const json before = site.camera("c0");
    CEventClient events(site.client(site.view));
    site.camsim.erase("/requests");

    site.file["cameras"].erase(1);
    site.file["cameras"][1]["tags"] = {"gate"};
    site.file["cameras"].push_back({{"name", "new"}, {"address", site.camsim.addresses()[3]}});
    site.write();
    site.reload();
    events.next("site");
    events.next("camera", {{"name", "new"}, {"state", "up"}});
    events.next("drift", {{"name", "new"}});
    EXPECT_EQ(site.camera("c1"), nullptr);
    EXPECT_EQ(site.client(site.view).get("/api/v1/cameras/c1").status, 404);
    site.await("c2", {{"state", "up"}, {"tags", {"gate"}}});
    EXPECT_EQ(site.camera("c0"), before);
    for (const char* path : {"/cgi-bin/getinfo", "/cgi-bin/setdata", "/cgi-bin/get_io?mode=monitor"}) {
        EXPECT_EQ(site.requests(0, path).size(), 0U) << path;
        EXPECT_EQ(site.requests(1, path).size(), 0U) << path;
        EXPECT_GT(site.requests(3, path).size(), 0U) << path;
    }
    EXPECT_TRUE(WaitUntil([&] { // who has left is listened to no longer
        return site.camsim.get("/cameras/1").at("monitors") == 0;
    }));
    EXPECT_EQ(site.camsim.get("/cameras/0").at("monitors"), 1);
}

// A camera that is reached in another way now is a new one to the plug-in, and the same to who follows it.
TEST(ServiceReload, ACameraThatIsReachedOtherwiseKeepsItsHistory) {
    CServedSite site({"--no-rtsp"});
    site.awaitState("c0", "up");
    CEventClient events(site.client(site.view), "?exchanges=c0");
    events.next("exchange", {{"path", "/cgi-bin/get_capability"}}); // of the first session
    site.file["cameras"][0]["inputs"] = {0};
    site.write();
    site.reload();
    events.next("site");
    events.next("exchange", {{"path", "/cgi-bin/get_capability"}});
    std::vector<std::string> states;
    EXPECT_TRUE(WaitUntil([&] {
        states.clear();
        const json history = site.client(site.view).get("/api/v1/cameras/c0/history").object();
        for (const json& one : history.at("states"))
            states.push_back(one.at("state"));
        return states.size() > 1;
    }));
    EXPECT_EQ(states, (std::vector<std::string>{"up", "up"}));
}

TEST(ServiceReload, ARefusedOrVanishedFileLeavesTheOldSite) {
    CServedSite site({"--count", "2", "--no-rtsp"});
    site.awaitState("c0", "up");
    const auto isServed = [&] {
        const CHttpClient client = site.client(site.operate);
        EXPECT_EQ(client.get("/api/v1/cameras").object().at("cameras").size(), 2U);
        EXPECT_EQ(client.send("POST", "/api/v1/cameras/c0/check").status, 200);
        return client.get("/api/v1/cameras/c0").status == 200;
    };
    site.folder.file("site.json", R"({"cameras":[{"name":"c0","adress":"127.0.0.1"}]})");
    site.reload();
    site.program->waitForMessage("did you mean address?");
    EXPECT_TRUE(isServed());
    std::filesystem::remove(site.folder.file("site.json"));
    site.reload();
    site.program->waitForMessage("No such file");
    EXPECT_TRUE(isServed());
    const SReply wish =
        site.client(site.admin).send("PATCH", "/api/v1/cameras/c0/wish", {{"adjustments", {{"iris", "5"}}}});
    EXPECT_EQ(wish.status, 500) << wish.body;
    EXPECT_TRUE(isServed());

    site.file["cameras"].erase(1);
    site.write();
    site.reload();
    EXPECT_TRUE(WaitUntil([&] { return site.camera("c1") == nullptr; }));
}

} // namespace
} // namespace corvane::service_test
