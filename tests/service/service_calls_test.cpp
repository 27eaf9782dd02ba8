// Who may ask for what, and what calls and changes answer.

#include "tests/service/served_site.h"

#include "service/tokens.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sys/stat.h>

namespace corvane::service_test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string ReadAll(const std::string& file) {
    std::ostringstream all;
    all << std::ifstream(file).rdbuf();
    return all.str();
}

TEST(ServiceAccess, ATokenIsMadeAtTheFirstStartAndToldOnce) {
    const CCamsim camsim({"--no-rtsp"});
    const CTemporaryFolder folder;
    const std::string site =
        folder.file("site.json", json{{"cameras", {{{"name", "c0"}, {"address", camsim.address()}}}}}.dump());
    const std::vector<std::string> words{"serve",     site,      "--listen",          "127.0.0.1:0",
                                         "--no-page", "--state", folder.file("state")};
    std::string token;
    {
        CProgram program("vornhost-service", words);
        const std::string url = json::parse(program.readLine()).at("listening").at(0);
        const std::string address = url.substr(url.rfind('/') + 1);
        program.signal(SIGTERM);
        const SRun ended = program.wait();
        std::smatch found;
        ASSERT_TRUE(
            std::regex_search(ended.err, found, std::regex("(http://[^/]*)/#token=([-_A-Za-z0-9]{43}) ")))
            << ended.err;
        EXPECT_EQ(found.str(1), url);
        token = found.str(2);
    }
    struct stat about {};
    ASSERT_EQ(::stat(folder.file("state/tokens.json").c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777U, 0600U);
    EXPECT_THAT(ReadAll(folder.file("state/tokens.json")), Not(HasSubstr(token)));
    CProgram again("vornhost-service", words);
    const std::string url = json::parse(again.readLine()).at("listening").at(0);
    const CHttpClient client(url.substr(url.rfind('/') + 1), token);
    EXPECT_EQ(client.get("/api/v1/cameras").status, 200);
    again.signal(SIGTERM);
    EXPECT_EQ(again.wait().err, "");
}

TEST(ServiceAccess, ASessionIsTheTokensAndEndsWithIt) {
    const CServedSite site({"--no-rtsp"});
    const CHttpClient nobody(site.address, "");
    const auto logIn = [&](const std::string& token) {
        return nobody.send("POST", "/api/v1/session", {{"token", token}});
    };
    EXPECT_EQ(logIn("x" + site.view.substr(1)).status, 401);
    const SReply opened = logIn(site.operate);
    ASSERT_EQ(opened.status, 200) << opened.body;
    EXPECT_EQ(opened.object().at("name"), "front desk");
    EXPECT_EQ(opened.object().at("role"), "operate");
    const std::string given = opened.header("set-cookie");
    for (const char* attribute : {"; HttpOnly", "; SameSite=Strict", "; Path=/"})
        EXPECT_THAT(given, HasSubstr(attribute));
    EXPECT_THAT(given, Not(HasSubstr("Secure"))); // there is no TLS
    EXPECT_THAT(given, Not(HasSubstr(site.operate)));
    const Headers cookie{"Cookie: other=1; " + given.substr(0, given.find(';'))};
    EXPECT_EQ(nobody.get("/api/v1/cameras", cookie).status, 200);
    EXPECT_EQ(nobody.get("/api/v1/session", cookie).object(), opened.object());
    EXPECT_EQ(nobody.send("PATCH", "/api/v1/cameras/c0/wish", json::object(), cookie).status, 403);

    const SReply left = nobody.ask("DELETE", "/api/v1/session", "", cookie);
    EXPECT_EQ(left.status, 204);
    EXPECT_THAT(left.header("set-cookie"), HasSubstr("vornhost_session=;"));
    EXPECT_EQ(nobody.get("/api/v1/session", cookie).status, 401);
    EXPECT_EQ(nobody.get("/api/v1/cameras", cookie).status, 401);

    const std::string second = logIn(site.operate).header("set-cookie");
    const Headers kept{"Cookie: " + second.substr(0, second.find(';'))};
    EXPECT_EQ(nobody.get("/api/v1/cameras", kept).status, 200);
    (void)service::RevokeToken(site.folder.file("tokens.json"), "front desk");
    EXPECT_EQ(nobody.get("/api/v1/cameras", kept).status, 401);
    EXPECT_EQ(site.client(site.operate).get("/api/v1/cameras").status, 401);
    EXPECT_EQ(site.client(site.view).get("/api/v1/cameras").status, 200);
}

TEST(ServiceAccess, TheRoleDecidesWhatMayBeAskedFor) {
    const CServedSite site({"--model", "D850", "--no-rtsp"});
    site.awaitState("c0", "up");
    const std::string camera = "/api/v1/cameras/c0";
    const json reading{{"operation", "getCameraName"}, {"arguments", {"0"}}};
    const json writing{{"operation", "controller.LensRefocus"}};
    const json path{{"operation", "setting.GetDetailsFromUrl"},
                    {"arguments", {"/cgi-bin/directctrl?pan=9", "pan"}}};
    const struct {
        const char* method;
        std::string path;
        json body;
        long status[3]; // for view, operate, admin
    } asked[] = {
        {"GET", "/api/v1/cameras", nullptr, {200, 200, 200}},
        {"GET", "/api/v1/metrics", nullptr, {200, 200, 200}},
        {"POST", camera + "/check", json::object(), {200, 200, 200}},
        {"POST", camera + "/calls", reading, {200, 200, 200}},
        {"POST", camera + "/calls", writing, {403, 200, 200}},
        {"POST", camera + "/calls", path, {403, 200, 200}}, // a GET, which may do anything
        {"POST", camera + "/calls", {{"operation", "handler.shutdownHandler"}}, {403, 403, 403}},
        {"POST", camera + "/calls", {{"operation", "initialize"}}, {403, 403, 403}},
        {"POST", camera + "/move", {{"pan", 1}}, {403, 202, 409}}, // the front desk has it
        {"POST", camera + "/sync", json::object(), {403, 200, 200}},
        {"PATCH", camera + "/adjustments", {{"brightness", 50}}, {403, 200, 200}},
        {"PATCH", camera + "/wish", {{"adjustments", {{"brightness", "50"}}}}, {403, 403, 200}},
    };
    for (const auto& one : asked)
        for (int role = 0; role < 3; ++role) {
            const std::string& token = role == 0 ? site.view : role == 1 ? site.operate : site.admin;
            const CHttpClient client = site.client(token);
            const SReply reply =
                one.body.is_null() ? client.get(one.path) : client.send(one.method, one.path, one.body);
            EXPECT_EQ(reply.status, one.status[role])
                << one.method << " " << one.path << " " << role << ": " << reply.body;
        }
}

// The answer is `vornhost script`'s, whose one difference is how long it took.
TEST(ServiceCalls, AnswerAsAScriptDoes) {
    const CServedSite site({"--model", "D850", "--no-rtsp"});
    site.awaitState("c0", "up");
    const std::vector<json> calls = {
        {{"operation", "getCameraName"}, {"arguments", {"0"}}},
        {{"operation", "getBrightness"}, {"arguments", {0}}},
        {{"operation", "getBrightness"}, {"arguments", {"7"}}},
        {{"operation", "controller.getPTZPos"}},
        {{"operation", "getVideoStreamRecord"}, {"arguments", {"0,h264,0"}}},
        {{"operation", "getBrightnes"}, {"arguments", {"0"}}},
        {{"operation", "getBrightness"}, {"arguments", {"0", "1"}}},
        {{"operation", "getVideoStreamRecord"}, {"arguments", {"nothing"}}},
    };
    std::string script;
    for (const json& call : calls) {
        script += call.at("operation").get<std::string>();
        for (const json& argument : call.value("arguments", json::array()))
            script += " " + (argument.is_string() ? argument.get<std::string>() : argument.dump());
        script += "\n";
    }
    const SRun run =
        test_support::RunProgram("vornhost",
                                 {"--user", "admin", "--password-file", site.folder.file("password"),
                                  "script", "--json", site.camsim.address()},
                                 script);
    const std::regex took("\"ms\":[0-9.]+");
    std::istringstream lines(run.out);
    for (const json& call : calls) {
        std::string line;
        ASSERT_TRUE(std::getline(lines, line)) << run.out << run.err;
        const SReply reply = site.client(site.view).send("POST", "/api/v1/cameras/c0/calls", call);
        EXPECT_EQ(std::regex_replace(reply.body, took, "\"ms\":0"),
                  std::regex_replace(line, took, "\"ms\":0"));
        EXPECT_EQ(reply.status, json::parse(line).contains("error") ? 400 : 200) << reply.body;
    }
}

TEST(ServiceCalls, NoAnswerHoldsAPasswordAndNoneTakesAnAddress) {
    const CServedSite site({"--no-rtsp"});
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.admin);
    std::string all;
    for (const char* path : {"/requests", "", "/history"})
        all += client.get(std::string("/api/v1/cameras/c0") + path).body;
    const json operations = client.get("/api/v1/operations").object().at("operations");
    int urls = 0;
    for (const json& one : operations) {
        json arguments = json::array();
        for (const json& argument : one.at("arguments")) {
            EXPECT_THAT(argument.at("name").get<std::string>(), Not(HasSubstr("ddress"))) << one;
            arguments.push_back(argument.at("form").get<std::string>().find("stream") == std::string::npos
                                    ? "0"
                                    : "0,h264,0");
        }
        if (one.at("writes"))
            continue;
        const SReply reply = client.send("POST", "/api/v1/cameras/c0/calls",
                                         {{"operation", one.at("operation")}, {"arguments", arguments}});
        EXPECT_TRUE(reply.status == 200 || reply.status == 400) << reply.status << " " << reply.body;
        urls += reply.body.find("rtsp://") == std::string::npos ? 0 : 1;
        all += reply.body;
    }
    EXPECT_GT(urls, 0); // there was something to mask
    EXPECT_THAT(all, Not(HasSubstr("12345")));
    EXPECT_THAT(all, HasSubstr("rtsp://***@"));
}

TEST(ServiceCalls, AWriteTellsWhatWasAskedWhatWasAndWhatIs) {
    const CServedSite site({"--no-rtsp"});
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.operate);
    const std::string adjustments = "/api/v1/cameras/c0/adjustments";
    SReply reply = client.send("PATCH", adjustments, {{"brightness", "60"}});
    EXPECT_EQ(reply.status, 200) << reply.body;
    json result = reply.object().at("results").at(0);
    EXPECT_EQ(result.at("field"), "brightness");
    EXPECT_EQ(result.at("asked"), "60");
    EXPECT_EQ(result.at("is"), "60");
    EXPECT_NE(result.at("was"), "60");

    reply = client.send("PATCH", "/api/v1/cameras/c0/streams/0,h264,0", {{"resolution", "640x480"}});
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.object().at("results").at(0).at("of"), "stream 0,h264,0");
    EXPECT_EQ(reply.object().at("results").at(0).at("is"), "640x480");

    reply = client.send("PATCH", "/api/v1/cameras/c0/streams/0,h264,0", {{"quality", "10"}}); // it has none
    EXPECT_EQ(reply.status, 422) << reply.body;
    EXPECT_EQ(reply.object().at("problem").at("cause"), "not-supported");

    EXPECT_EQ(client.send("PATCH", adjustments, {{"brightness", "101"}}).status, 422);
    EXPECT_EQ(client.send("PATCH", adjustments, {{"brightnes", "10"}}).status, 400);
    EXPECT_EQ(client.send("PATCH", adjustments, {{"brightness", nullptr}}).status, 400);
    EXPECT_EQ(client.send("PATCH", adjustments, json::object()).status, 400);
    for (const char* stream : {"0,h264", "0,9,0"})
        EXPECT_EQ(
            client.send("PATCH", std::string("/api/v1/cameras/c0/streams/") + stream, {{"frameRate", "1"}})
                .status,
            400);

    site.camsim.post("/faults", {{"path", "/cgi-bin/*"}, {"kind", "revert"}, {"method", "POST"}});
    reply = client.send("PATCH", adjustments, {{"brightness", "30"}});
    EXPECT_EQ(reply.status, 409) << reply.body;
    EXPECT_EQ(reply.header("content-type"), "application/problem+json");
    EXPECT_EQ(reply.object().at("problem").at("cause"), "not-accepted");
    result = reply.object().at("results").at(0);
    EXPECT_EQ(result.at("asked"), "30");
    EXPECT_EQ(result.at("was"), "60");
    EXPECT_EQ(result.at("is"), "60");
}

TEST(ServiceCalls, ToFocusOnceIsNoState) {
    const CServedSite site({"--model", "D850", "--no-rtsp"});
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.operate);
    const std::string adjustments = "/api/v1/cameras/c0/adjustments";
    const SReply reply = client.send("PATCH", adjustments, {{"autoFocus", "on"}});
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.object().at("results").at(0).at("asked"), "on");
    EXPECT_EQ(client.send("PATCH", adjustments, {{"autoFocus", "off"}}).status, 422);
}

// Somebody else sets it, and it fails, between two looks of the service.
TEST(ServiceCalls, ACameraIsComparedAsItIsNow) {
    const CServedSite site({"--no-rtsp"}, [](CServedSite& made) {
        made.file["cameras"][0]["adjustments"] = {{"brightness", "60"}};
    });
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.operate);
    const std::string camera = "/api/v1/cameras/c0", adjustments = camera + "/adjustments";
    const auto finding = [&](const char* what) { return client.send("POST", camera + what).object().at(0); };
    const auto setElsewhere = [&](const std::string& brightness) {
        const SRun run = test_support::RunProgram(
            "vornhost", {"--user", "admin", "--password-file", site.folder.file("password"), "image",
                         site.camsim.address(), "brightness=" + brightness});
        ASSERT_EQ(run.status, 0) << run.err;
    };
    EXPECT_EQ(finding("/sync").at("state"), "changed");
    setElsewhere("100");
    EXPECT_EQ(finding("/check").at("differences").at(0).at("camera"), "100");
    const json changed =
        client.send("PATCH", adjustments, {{"brightness", "60"}}).object().at("results").at(0);
    EXPECT_EQ(changed.at("was"), "100");
    EXPECT_EQ(changed.at("is"), "60");

    setElsewhere("100");
    site.camsim.post("/faults", {{"path", "/cgi-bin/*"}, {"kind", "revert"}, {"ms", 300}});
    EXPECT_EQ(finding("/sync").at("state"), "not-accepted");
    site.camsim.erase("/faults");

    site.camsim.post("/faults", {{"name", "settings-unavailable"}});
    EXPECT_EQ(finding("/check").at("problem").at("cause"), "busy");
    site.camsim.erase("/faults");
    site.camsim.post("/faults",
                     {{"path", "/cgi-bin/setdata"}, {"kind", "status"}, {"status", 503}, {"written", true}});
    const SReply unread = client.send("PATCH", adjustments, {{"brightness", "70"}});
    EXPECT_EQ(unread.status, 502) << unread.body;
    EXPECT_EQ(unread.object().at("results").at(0).at("is"), nullptr) << unread.body;
    site.camsim.erase("/faults");
    EXPECT_EQ(client.send("PATCH", adjustments, {{"brightness", "40"}}).status, 200); // at once
}

TEST(ServiceCalls, AWishGoesToTheSiteFileOrChangesNothing) {
    CServedSite site({"--count", "2", "--no-rtsp"}, [](CServedSite& made) {
        made.file["cameras"][1]["adjustments"] = {{"brightness", "40"}};
    });
    site.awaitState("c1", "up");
    const CHttpClient client = site.client(site.admin);
    const std::string wish = "/api/v1/cameras/c1/wish";
    const auto written = [&] { return json::parse(ReadAll(site.folder.file("site.json"))); };
    SReply reply = client.send("PATCH", wish,
                               {{"adjustments", {{"brightness", nullptr}, {"sharpness", "20"}}},
                                {"streams", {{{"stream", "0,h264,0"}, {"record", {{"frameRate", 5}}}}}}});
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(reply.object().at("adjustments"), (json{{"sharpness", "20"}}));
    EXPECT_EQ(written()["cameras"][1]["adjustments"], (json{{"sharpness", "20"}}));
    EXPECT_EQ(written()["cameras"][1]["streams"],
              (json{{{"stream", "0,h264,0"}, {"record", {{"frameRate", "5"}}}}}));
    EXPECT_EQ(written()["cameras"][0], site.file["cameras"][0]);
    site.awaitState("c1", "up"); // it is another camera now, as after any change of the file
    const json detail = client.get("/api/v1/cameras/c1").object();
    EXPECT_EQ(detail.at("wish").at("adjustments"), (json{{"sharpness", "20"}}));

    const json before = written();
    const std::pair<json, long> refused[] = {
        {{{"adjustments", {{"sharpnes", "20"}}}}, 422},
        {{{"adjustments", {{"sharpness", "abc"}}}}, 422},
        {{{"streams", {{{"stream", "9"}, {"record", json::object()}}}}}, 422},
        {{{"streams", {{{"stream", "9"}, {"record", {{"frameRate", "5"}}}}}}}, 422},
        {{{"streams", {{{"stream", "0,h264,0"}, {"record", {{"frames", "5"}}}}}}}, 422},
        {{{"streams", {{{"stream", "0,h264,0"}}}}}, 400},
        {{{"streams", "0,h264,0"}}, 400},
        {{{"adjustments", {{"sharpness", {1}}}}}, 400},
        {{{"address", "127.0.0.1:1"}}, 400},
        {{{"adjustments", nullptr}}, 400},
    };
    for (const auto& [body, status] : refused)
        EXPECT_EQ(client.send("PATCH", wish, body).status, status) << body;
    EXPECT_EQ(written(), before);
    for (const auto& entry : std::filesystem::directory_iterator(site.folder.file("")))
        EXPECT_THAT(entry.path().string(), Not(HasSubstr("trial")));

    const std::string file = site.folder.file("site.json"), elsewhere = site.folder.file("elsewhere.json");
    std::filesystem::rename(file, elsewhere);
    std::filesystem::create_symlink(elsewhere, file);
    reply = client.send("PATCH", wish, {{"adjustments", {{"sharpness", "30"}}}});
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_EQ(written()["cameras"][1]["adjustments"], (json{{"sharpness", "30"}}));
}

TEST(ServiceDoctor, TellsItsLinesAndKeepsItsBundle) {
    const CServedSite site({"--no-rtsp"});
    site.awaitState("c0", "up");
    const CHttpClient client = site.client(site.view);
    const std::string camera = "/api/v1/cameras/c0";
    EXPECT_EQ(client.get(camera + "/doctor.tar.gz").status, 404);
    const SReply list = client.send("POST", camera + "/doctor");
    ASSERT_EQ(list.status, 200) << list.body;
    ASSERT_GT(list.object().size(), 5U);
    EXPECT_EQ(list.object().front().at("check"), "address");
    EXPECT_TRUE(list.object().back().contains("verdict")) << list.body;

    const SReply lines =
        client.send("POST", camera + "/doctor", {{"bundle", true}}, {"Accept: application/x-ndjson"});
    EXPECT_EQ(lines.header("content-type"), "application/x-ndjson");
    std::istringstream in(lines.body);
    std::size_t count = 0;
    for (std::string line; std::getline(in, line); ++count)
        EXPECT_TRUE(json::parse(line).is_object());
    EXPECT_EQ(count, list.object().size());
    const SReply bundle = client.get(camera + "/doctor.tar.gz");
    EXPECT_EQ(bundle.status, 200);
    EXPECT_EQ(bundle.header("content-type"), "application/gzip");
    EXPECT_EQ(bundle.body.substr(0, 2), "\x1f\x8b");
}

} // namespace
} // namespace corvane::service_test
