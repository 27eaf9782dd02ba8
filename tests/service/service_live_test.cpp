// What goes on while a client is there: events, moves, pictures.

#include "tests/service/served_site.h"

#include <gmock/gmock.h>

#include <csignal>

namespace corvane::service_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::uint64_t NumberOf(const std::string& id) {
    return std::stoull(id.substr(id.find('-') + 1));
}

TEST(ServiceEvents, NoneIsLostAndWhatWasMissedIsReplayed) {
    CServedSite site({"--count", "2", "--no-rtsp"}, [](CServedSite& made) {
        for (int i = 0; i < 2; ++i)
            made.file["cameras"][i]["inputs"] = {0};
    });
    for (const char* name : {"c0", "c1"}) {
        site.await(name, {{"state", "up"}, {"drift", {{"state", "same"}}}});
        site.awaitLevels(name, 1);
    }
    const CHttpClient client = site.client(site.view);
    CEventClient all(client);
    CEventClient one(client, "?only=c%3F&only=nobody"); // patterns, of which any may fit
    CEventClient other(client, "?only=c1");
    EXPECT_THAT(all.head(), HasSubstr("200 OK"));
    EXPECT_THAT(all.head(), HasSubstr("text/event-stream"));
    const SServerEvent first = all.next();
    EXPECT_EQ(first.kind, "heartbeat"); // tells where the client stands
    std::vector<std::string> ids{first.id};
    const struct {
        int camera;
        const char* level;
        bool isNews;
    } changes[] = {{1, "Low", true},  {0, "Low", true}, {0, "High", true},
                   {1, "Low", false}, {0, "Low", true}, {0, "High", true}};
    for (const auto& change : changes) {
        site.camsim.patch("/cameras/" + std::to_string(change.camera) + "/inputs", {{"1", change.level}});
        if (!change.isNews)
            continue;
        const SServerEvent event = all.next();
        EXPECT_EQ(event.kind, "input");
        EXPECT_EQ(event.data.at("name"), "c" + std::to_string(change.camera));
        EXPECT_EQ(event.data.at("state"), change.level == std::string("Low") ? 1 : 0) << event.data;
        EXPECT_EQ(NumberOf(event.id), NumberOf(ids.back()) + 1);
        ids.push_back(event.id);
        EXPECT_EQ(one.next("input").id, event.id);
    }
    EXPECT_EQ(other.next("input").id, ids[1]);

    CEventClient again(client, "", {"Last-Event-ID: " + ids[2]});
    for (std::size_t i = 3; i < ids.size(); ++i)
        EXPECT_EQ(again.next().id, ids[i]);
    const std::string epoch = ids.back().substr(0, ids.back().find('-') + 1);
    for (const std::string& gone :
         {std::string("1-1"), epoch + "99999999", epoch, epoch + "1x", std::string("x")}) {
        CEventClient late(client, "?only=c1", {"Last-Event-ID: " + gone});
        EXPECT_EQ(late.next("resync").id, ids.back()) << gone;
        site.camsim.patch("/cameras/1/inputs", {{"1", "High"}});
        const SServerEvent next = late.next(); // and not another resync
        EXPECT_EQ(next.kind, "input") << gone;
        EXPECT_EQ(other.next("input").id, next.id);
        site.camsim.patch("/cameras/1/inputs", {{"1", "Low"}});
        ids.push_back(other.next("input").id);
    }
    EXPECT_EQ(CEventClient(client, "?only=nobody").next().kind, "heartbeat");
    CEventClient quiet(client, "?only=nobody");
    EXPECT_NE(quiet.next().id, "");
    EXPECT_EQ(quiet.next().id, ""); // the next heartbeat is no place to begin at
    EXPECT_EQ(client.get("/api/v1/events?exchanges=nobody").status, 404);
    CEventClient exchanges(client, "?exchanges=c0");
    EXPECT_EQ(
        client.send("POST", "/api/v1/cameras/c0/calls", {{"operation", "setting.getDetailsFromSetdata"}})
            .status,
        200);
    EXPECT_EQ(exchanges.next("exchange", {{"name", "c0"}, {"path", "/cgi-bin/setdata"}}).id, "");
}

// The requests that move the head of the camera, or stop it.
std::vector<json> MovesOf(const CServedSite& site) {
    return site.requests(0, "/cgi-bin/directctrl");
}

bool IsMoving(const CServedSite& site) {
    return site.camsim.get("/cameras/0").at("position").at("moving");
}

constexpr const char* Move = "/api/v1/cameras/c0/move";

// This model goes on until it is told to stop.
const std::vector<std::string> Tireless{"--model", "D870", "--no-rtsp"};

TEST(ServiceMove, EndsByItselfASecondAfterTheLastRenewal) {
    const CServedSite site(Tireless);
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.operate);
    const auto tilt = [&] {
        return client.get("/api/v1/cameras/c0").object().at("position").at("tilt").get<int>();
    };
    const int before = tilt();
    std::int64_t renewed = 0;
    std::int64_t first = 0;
    while (renewed - first < 2'000) { // longer than a move lasts
        const SReply reply = client.send("POST", Move, {{"pan", 1 + renewed % 2}, {"tilt", -20}});
        ASSERT_EQ(reply.status, 202) << reply.body;
        EXPECT_EQ(reply.object().at("holder"), "front desk");
        ASSERT_TRUE(WaitUntil([&] { return !MovesOf(site).empty(); }));
        first = MovesOf(site).front().at("time");
        renewed = std::chrono::duration_cast<std::chrono::milliseconds>(
                      std::chrono::system_clock::now().time_since_epoch())
                      .count();
    }
    EXPECT_TRUE(IsMoving(site));
    EXPECT_TRUE(WaitUntil([&] { return !IsMoving(site); }));
    const auto moves = MovesOf(site);
    const json& stop = moves.back();
    EXPECT_GE(stop.at("time").get<std::int64_t>() - renewed, 900) << stop;
    EXPECT_NE(tilt(), before);
    for (std::size_t i = 0; i + 1 < moves.size(); ++i)
        EXPECT_NE(moves[i].at("path"), stop.at("path"));
}

TEST(ServiceMove, OneClientHasTheHead) {
    const CServedSite site(Tireless);
    site.awaitState("c0", "up");
    const CHttpClient desk = site.client(site.operate);
    const CHttpClient boss = site.client(site.admin);
    const json right{{"pan", 30}};
    const Headers tab{"X-Client: 1"};
    const Headers otherTab{"X-Client: 2"};
    EXPECT_EQ(desk.send("POST", Move, right, tab).status, 202);
    for (const SReply& refused :
         {desk.send("POST", Move, right, otherTab), boss.send("POST", Move, right, tab),
          boss.ask("DELETE", Move, "", tab), desk.ask("DELETE", Move, "", otherTab),
          boss.send("POST", "/api/v1/cameras/c0/calls",
                    {{"operation", "controller.callPreset"}, {"arguments", {"1"}}}),
          boss.send("POST", "/api/v1/cameras/c0/calls",
                    {{"operation", "setContinuousPtz"}, {"arguments", {"0", "9", "0", "0"}}})}) {
        EXPECT_EQ(refused.status, 409) << refused.body;
        EXPECT_EQ(refused.header("content-type"), "application/problem+json");
        EXPECT_EQ(refused.object().at("holder"), "front desk");
    }
    EXPECT_EQ(desk.ask("DELETE", Move, "", tab).status, 204);
    EXPECT_EQ(boss.send("POST", Move, right).object().at("holder"), "boss");
    EXPECT_EQ(boss.ask("DELETE", Move).status, 204);
    EXPECT_TRUE(WaitUntil([&] { return !IsMoving(site); }));
    for (const json& wrong : {json{{"pan", 101}}, json{{"tilt", -101}}, json{{"zoom", 1.5}},
                              json{{"pan", "1"}}, json{{"focus", 1}}})
        EXPECT_EQ(desk.send("POST", Move, wrong).status, 400) << wrong;
}

TEST(ServiceMove, AStopOvertakesWhatWaits) {
    const CServedSite site(Tireless);
    site.awaitState("c0", "up");
    site.camsim.post("/faults",
                     {{"path", "/cgi-bin/directctrl*"}, {"kind", "delay"}, {"ms", 1500}, {"count", 1}});
    const CHttpClient client = site.client(site.operate);
    for (int pan = 10; pan <= 50; pan += 10)
        EXPECT_EQ(client.send("POST", Move, {{"pan", pan}}).status, 202);
    EXPECT_EQ(client.ask("DELETE", Move).status, 204);
    EXPECT_TRUE(WaitUntil([&] { return MovesOf(site).size() >= 2 && !IsMoving(site); }));
    EXPECT_EQ(MovesOf(site).size(), 2U);
}

// Whoever is the last to have a session of a camera that has left, its own thread is not.
TEST(ServiceMove, CamerasThatLeaveWhileTheyMoveLeaveTheServiceWell) {
    constexpr int Cameras = 8;
    CServedSite site({"--model", "D870", "--count", std::to_string(Cameras + 1), "--no-rtsp"});
    const json all = site.file["cameras"];
    json first = json::array({all.at(0)});
    for (int round = 0; round < 6; ++round) {
        for (int i = 1; i <= Cameras; ++i) {
            const std::string name = "c" + std::to_string(i);
            site.awaitState(name, "up");
            EXPECT_EQ(site.client(site.operate)
                          .send("POST", "/api/v1/cameras/" + name + "/move", {{"pan", 40}})
                          .status,
                      202);
        }
        site.file["cameras"] = first;
        site.write();
        site.reload();
        EXPECT_TRUE(WaitUntil([&] {
            return site.client(site.view).get("/api/v1/cameras").object().at("cameras").size() == 1;
        }));
        for (int i = 1; i <= Cameras; ++i)
            EXPECT_TRUE(WaitUntil([&] {
                return !site.camsim.get("/cameras/" + std::to_string(i))
                            .at("position")
                            .at("moving")
                            .get<bool>();
            }));
        site.file["cameras"] = all;
        site.write();
        site.reload();
    }
    site.program->signal(SIGTERM);
    EXPECT_EQ(site.program->wait().status, 0);
}

// A camera that moves is stopped before the service goes, or the camera leaves the site.
TEST(ServiceMove, EndsWithTheServiceAndWithTheCamera) {
    for (const bool isSiteEnded : {true, false}) {
        CServedSite site({"--model", "D870", "--count", "2", "--no-rtsp"});
        site.awaitState("c0", "up");
        // The command is under way when the end comes.
        site.camsim.post("/faults",
                         {{"path", "/cgi-bin/directctrl*"}, {"kind", "delay"}, {"ms", 400}, {"count", 1}});
        EXPECT_EQ(site.client(site.operate).send("POST", Move, {{"pan", 40}}).status, 202);
        ASSERT_TRUE(WaitUntil(
            [&] { return site.camsim.get("/faults").dump().find("\"hits\":1") != std::string::npos; }));
        if (isSiteEnded) {
            site.program->signal(SIGTERM);
            EXPECT_EQ(site.program->wait().status, 0);
            EXPECT_FALSE(IsMoving(site));
        } else {
            site.file["cameras"].erase(0);
            site.write();
            site.reload();
        }
        EXPECT_TRUE(WaitUntil([&] { return MovesOf(site).size() == 2 && !IsMoving(site); }));
    }
}

constexpr const char* Picture = "/api/v1/cameras/c0/picture.jpg";

// Cameras whose RTSP port is the plug-in's, at addresses that no other test has.
std::vector<std::string> Streaming(const std::string& first, int count) {
    return {"--listen", first + ":0", "--count", std::to_string(count), "--addresses", "consecutive-hosts"};
}

int StreamsOf(const CServedSite& site) {
    return site.camsim.get("/cameras/0").at("rtspClients");
}

TEST(ServicePictures, OneStreamHoweverManyLook) {
    const CServedSite site(Streaming("127.0.91.1", 1));
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.view);
    for (const char* stream : {"", "?stream=0,h264,0"}) {
        CRawConnection mjpeg(site.address);
        mjpeg.write("GET /api/v1/cameras/c0/picture.mjpeg" + std::string(stream) + " HTTP/1.1\r\nHost: " +
                    site.address + "\r\nAuthorization: Bearer " + site.view + "\r\n\r\n");
        const SReply first = client.get(Picture + std::string(stream));
        ASSERT_EQ(first.status, 200) << first.body;
        EXPECT_EQ(first.header("content-type"), "image/jpeg");
        EXPECT_EQ(first.body.substr(0, 2), "\xff\xd8");
        const std::string number = first.header("x-picture-number");
        const std::string more = *stream ? std::string(stream) + "&" : "?";
        const SReply next = client.get(Picture + more + "after=" + number + "&wait=5000");
        EXPECT_EQ(next.status, 200);
        EXPECT_GT(std::stoull(next.header("x-picture-number")), std::stoull(number));
        EXPECT_EQ(client.get(Picture + more + "after=99999999").status, 204);
        EXPECT_THAT(mjpeg.take("\r\n\r\n").value_or(""),
                    HasSubstr("multipart/x-mixed-replace; boundary=picture"));
        mjpeg.readUntil([](const std::string& all) { // and three pictures
            const std::string begin = "Content-Type: image/jpeg";
            std::size_t place = 0;
            int count = 0;
            while ((place = all.find(begin, place)) != std::string::npos)
                ++count, ++place;
            return count >= 3;
        });
        EXPECT_EQ(StreamsOf(site), 1);
        EXPECT_TRUE(WaitUntil([&, closed = std::make_shared<CRawConnection>(std::move(mjpeg))]() mutable {
            closed.reset();
            return StreamsOf(site) == 0;
        }));
    }
}

TEST(ServicePictures, NoPictureSaysWhy) {
    const CServedSite site(Streaming("127.0.92.1", 2), [](const CServedSite& made) {
        made.camsim.post("/faults", {{"name", "rtsp-refused"}, {"camera", 0}});
        made.camsim.post("/faults", {{"name", "web-refused"}, {"camera", 1}});
    });
    site.awaitState("c0", "up");
    site.awaitState("c1", "down");
    const CHttpClient client = site.client(site.view);
    SReply reply = client.get(Picture);
    EXPECT_EQ(reply.status, 503);
    EXPECT_EQ(reply.object().at("problem").at("cause"), "stream-unreachable") << reply.body;
    site.await("c0", {{"state", "up"}, {"problem", {{"cause", "stream-unreachable"}}}});
    reply = client.get("/api/v1/cameras/c1/picture.jpg");
    EXPECT_EQ(reply.status, 503);
    EXPECT_EQ(reply.object().at("problem").at("cause"), "refused") << reply.body;
    EXPECT_EQ(client.get("/api/v1/cameras/c1/picture.mjpeg").status, 503);
    for (const char* wrong :
         {"?after=-1", "?after=x", "?wait=-1", "?wait=5001", "?stream=0", "?stream=0,h265,0"})
        EXPECT_EQ(client.get(std::string(Picture) + wrong).status, 400) << wrong;
    for (const char* wrong : {"?fps=0", "?fps=61", "?fps=", "?stream="})
        EXPECT_EQ(client.get("/api/v1/cameras/c0/picture.mjpeg" + std::string(wrong)).status, 400) << wrong;

    site.camsim.erase("/faults");
    EXPECT_TRUE(WaitUntil([&] { return client.get(Picture).status == 200; }));
    EXPECT_TRUE(WaitUntil([&] { return !site.camera("c0").contains("problem"); }));
}

} // namespace
} // namespace corvane::service_test
