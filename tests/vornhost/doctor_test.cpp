// The doctor finds what is wrong, in which check, and changes nothing at the camera.

#include "tests/vornhost/vornhost_support.h"

#include <atomic>
#include <cstdio>
#include <future>
#include <map>
#include <mutex>

namespace corvane::vornhost_test {
namespace {

using testing::HasSubstr;
using testing::Not;

struct SVisit {
    int status;
    std::vector<json> checks;
    json verdict;

    const json* check(const std::string& name) const {
        for (const json& line : checks)
            if (line.at("check") == name)
                return &line;
        return nullptr;
    }
    std::string resultOf(const std::string& name) const {
        const json* const found = check(name);
        return found ? found->at("result").get<std::string>() : "none";
    }
    std::string causeOf(const std::string& name) const {
        const json* const found = check(name);
        return found && found->contains("problem") ? found->at("problem").at("cause").get<std::string>() : "";
    }
};

SVisit Visit(const CCamsim& camsim, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments{"--json", "--rtsp-port", camsim.rtspPort(), "doctor",
                                       camsim.address()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const SRun run = Vornhost(arguments);
    std::vector<json> lines = JsonLines(run.out);
    if (lines.empty())
        throw std::runtime_error("no verdict: " + run.err);
    const json verdict = lines.back();
    lines.pop_back();
    return {run.status, lines, verdict};
}

class DoctorOnAHealthyCamera : public testing::TestWithParam<const char*> {};

TEST_P(DoctorOnAHealthyCamera, FindsNothingAndWritesNothing) {
    const CCamsim camsim({"--model", GetParam(), "--rtsp-port", "0"});
    const SVisit visit = Visit(camsim);
    EXPECT_EQ(visit.status, 0);
    EXPECT_EQ(visit.verdict.at("verdict"), "ok") << json(visit.checks);
    EXPECT_EQ(visit.verdict.at("address"), camsim.address());
    EXPECT_EQ(visit.verdict.at("checks"), visit.checks.size());
    EXPECT_FALSE(visit.verdict.contains("cause"));
    for (const json& check : visit.checks)
        EXPECT_EQ(check.at("result"), "ok") << check;
    for (const char* name : {"address", "connect", "http", "credentials", "identity", "model", "settings",
                             "capability", "answer-times", "clock"})
        EXPECT_EQ(visit.resultOf(name), "ok") << name;
    // What is read at a camera, and nothing else.
    for (const std::string& path : camsim.requestedPaths())
        EXPECT_TRUE(path.find("/cgi-bin/getinfo") == 0 || path == "/cgi-bin/setdata" ||
                    path == "/cgi-bin/get_capability" || path.find("/cgi-bin/get_io?") == 0 ||
                    path.find("/cgi-bin/absget") == 0 || path.find("rtsp") == 0 ||
                    path.find("/MediaInput") == 0)
            << path;
    const json log = camsim.get("/requests");
    for (const json& request : log.at("requests"))
        EXPECT_NE(request.at("method"), "POST") << request;
}

INSTANTIATE_TEST_SUITE_P(Each, DoctorOnAHealthyCamera,
                         testing::Values("D850", "D870", "F320", "GXE500", "L115", "S202"),
                         [](const auto& model) { return model.param; });

// Every fault of camsim's catalogue that a doctor can see: its cause, in its check, in its time. Several at a
// time, since most of each visit is waiting.
TEST(Doctor, DiagnosesTheCatalogue) {
#if defined(VORN_UNDER_ASAN) || defined(VORN_UNDER_TSAN)
    constexpr std::size_t Step = 9; // a sample, under which everything takes longer
    constexpr double Longer = 6;
#else
    constexpr std::size_t Step = 1;
    constexpr double Longer = 2; // beside four others, on any machine
#endif
    std::vector<json> rows;
    const std::vector<json> all = JsonLines(RunProgram("camsim", {"faults", "--json"}).out);
    for (std::size_t i = 0; i < all.size(); i += Step)
        if (all[i].at("check") != "none")
            rows.push_back(all[i]);
    ASSERT_GT(all.size(), 100U);
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    const auto work = [&] {
        for (std::size_t i = next++; i < rows.size(); i = next++) {
            const json& row = rows[i];
            const CCamsim camsim({"--model", "D870", "--rtsp-port", "0", "--fault", row.at("name")});
            if (!row.at("settings").contains("H264SIZE")) // encoding is most of the work
                camsim.patch("/cameras/0/settings", {{"H264SIZE", "320"}});
            const std::string phase = row.at("phase");
            std::vector<std::string> more;
            if (phase == "write" || phase == "read-back")
                more.emplace_back("--write-test");
            if (phase == "move")
                more.emplace_back("--move");
            const SVisit visit = Visit(camsim, more);
            const std::string check = row.at("check");
            const bool isFound = std::any_of(visit.checks.begin(), visit.checks.end(), [&](const json& line) {
                const std::string name = line.at("check");
                return name.substr(0, name.find(':')) == check && line.contains("problem") &&
                       line.at("problem").at("cause") == row.at("cause");
            });
            const std::lock_guard<std::mutex> lock(mutex);
            EXPECT_EQ(visit.verdict.value("cause", ""), row.at("cause")) << row << json(visit.checks);
            EXPECT_TRUE(isFound) << row << json(visit.checks);
            EXPECT_LE(visit.verdict.at("ms").get<double>(), row.at("seconds").get<double>() * 1000 * Longer)
                << row;
        }
    };
    std::vector<std::future<void>> workers;
    for (int i = 0; i < 5; ++i)
        workers.push_back(std::async(std::launch::async, work));
    for (std::future<void>& worker : workers)
        worker.get();
}

// No password and no answer to a challenge is in what a support desk is given.
TEST(Doctor, BundlesWhatASupportDeskNeeds) {
    const CTemporaryFolder folder;
    const std::string canary = "canary w\xC3\xB6rd/+1";
    const CCamsim camsim({"--rtsp-port", "0", "--password-file", folder.file("password", canary)});
    const std::string bundle = folder.file("bundle.tar.gz");
    const SRun run = Vornhost({"--password-file", folder.file("password"), "--rtsp-port", camsim.rtspPort(),
                               "doctor", camsim.address(), "--bundle", bundle});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_THAT(run.out, HasSubstr("exchanges.txt"));
    FILE* const tar = popen(("tar -xzOf " + bundle).c_str(), "r");
    std::string content;
    char part[4096];
    for (std::size_t size = 0; (size = std::fread(part, 1, sizeof part, tar)) > 0;)
        content.append(part, size);
    ASSERT_EQ(pclose(tar), 0);
    for (const char* text : {"RTSPPORT,\"554\"", "video_server.basic", "GET http://",
                             "\"check\":\"settings\"", "uthorization:", "plug-in", "GStreamer"})
        EXPECT_THAT(content, HasSubstr(text));
    for (const char* secret : {"canary", "response=", "Y2FuYXJ5"})
        EXPECT_THAT(content, Not(HasSubstr(secret)));
    EXPECT_EQ(Vornhost({"doctor", "127.0.0.1:9", "--bundle", "/no/such/folder/b.tar.gz"}).status, 2);
}

TEST(Doctor, SaysBecauseOfWhatTheOthersAreSkipped) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--password-file", folder.file("camera", "other")});
    const SVisit visit = Visit(camsim);
    EXPECT_EQ(visit.status, 1);
    EXPECT_EQ(visit.verdict.at("cause"), "wrong-password");
    EXPECT_EQ(visit.verdict.at("faults"), 1);
    EXPECT_EQ(visit.verdict.at("checks"), 14);
    for (const char* name : {"identity", "model", "settings", "capability", "stream", "audio", "input",
                             "position", "answer-times"}) {
        ASSERT_TRUE(visit.check(name)) << name;
        EXPECT_EQ(visit.check(name)->at("because"), "credentials") << name;
    }
    const SRun eyes = Vornhost({"doctor", "127.0.0.1:9"});
    EXPECT_EQ(eyes.status, 1);
    EXPECT_THAT(eyes.out, HasSubstr("because of connect\n"));
    EXPECT_THAT(eyes.out, HasSubstr("127.0.0.1:9: nobody listens at this address and port [refused]"));
}

// Settings that are not what the stream is, or switch it off.
TEST(Doctor, HoldsTheStreamsAgainstTheSettings) {
    const std::map<std::string, std::string> causes = {{"H264", "stream-off"},
                                                       {"H264RTSPMODE", "stream-off"}};
    for (const auto& [key, cause] : causes) {
        const CCamsim camsim({"--model", "D870", "--rtsp-port", "0"});
        camsim.patch("/cameras/0/settings", {{key, "0"}});
        const SVisit visit = Visit(camsim);
        EXPECT_EQ(visit.causeOf("stream:0,h264,0"), cause) << key << json(visit.checks);
    }
}

// A camera that makes four streams, two of which are taken: those of the doctor must not crowd out each
// other.
TEST(Doctor, TakesTheStreamsOneByOneWhereOthersWatch) {
    const CCamsim camsim({"--model", "D870", "--rtsp-port", "0"});
    camsim.patch("/cameras/0/settings", {{"H264SIZE", "320"}});
    const CTemporaryFolder folder;
    std::vector<std::unique_ptr<CProgram>> watchers;
    for (int i = 0; i < 2; ++i)
        watchers.push_back(std::make_unique<CProgram>(
            "vornhost",
            std::vector<std::string>{"--rtsp-port", camsim.rtspPort(), "record", camsim.address(), "--stream",
                                     "0,mjpeg,0", "--output", folder.file(std::to_string(i) + ".mkv")}));
    ASSERT_TRUE(WaitUntil([&] { return camsim.get("/cameras/0").at("rtspClients") == 2; }));
    const SVisit visit = Visit(camsim);
    EXPECT_EQ(visit.verdict.at("verdict"), "ok") << json(visit.checks);
    for (const auto& watcher : watchers)
        watcher->signal(SIGTERM);
    for (const auto& watcher : watchers)
        EXPECT_EQ(watcher->wait().status, 0);
}

TEST(Doctor, HoldsTheCameraAgainstARecord) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--rtsp-port", "0"});
    const auto visit = [&](const char* record) {
        return Visit(camsim, {"--record", folder.file("record.json", record)});
    };
    // 21 is rounded by the camera to what it has.
    const SVisit same = visit(R"({"streams":[{"stream":"0,h264,0","record":{"frameRate":"30"}}],
                                  "adjustments":{"brightness":"50"}})");
    EXPECT_EQ(same.resultOf("drift"), "ok") << json(same.checks);
    const SVisit other = visit(R"({"streams":[{"stream":"0,h264,0","record":{"resolution":"640x480"}}],
                                   "adjustments":{"brightness":10}})");
    EXPECT_EQ(other.causeOf("drift"), "differs");
    EXPECT_THAT(other.check("drift")->at("problem").at("answered").get<std::string>(),
                AllOf(HasSubstr("streams.0,h264,0.resolution is 1280x960"),
                      HasSubstr("adjustments.brightness is 50")));
    EXPECT_EQ(other.status, 1);
    EXPECT_EQ(visit(R"({"streams":[{"stream":"0,9,0","record":{"frameRate":"1"}}]})").causeOf("drift"),
              "wrong-file");
    EXPECT_EQ(Vornhost({"doctor", camsim.address(), "--record", folder.file("wrong.json", "{\"stream\":1}")})
                  .status,
              2);
}

TEST(Doctor, WritesAndMovesOnlyWhenItIsTold) {
    const CCamsim camsim({"--model", "D870", "--rtsp-port", "0"});
    const SVisit visit = Visit(camsim, {"--write-test", "--move"});
    EXPECT_EQ(visit.status, 0) << json(visit.checks);
    EXPECT_EQ(visit.resultOf("write-test"), "ok");
    EXPECT_EQ(visit.resultOf("move-test"), "ok");
    std::size_t writes = 0;
    std::size_t moves = 0;
    const json log = camsim.get("/requests");
    for (const json& request : log.at("requests")) {
        writes += request.at("method") == "POST" ? 1 : 0;
        moves += request.at("path").get<std::string>().find("/cgi-bin/camctrl") == 0 ? 1 : 0;
    }
    EXPECT_EQ(writes, 1U);
    EXPECT_EQ(moves, 2U);
}

} // namespace
} // namespace corvane::vornhost_test
