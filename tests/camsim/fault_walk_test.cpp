// Goes through the catalogue of faults, makes the request that each row is about, and looks whether it fails
// in the way that the row says; and how it is without the fault, so that no row is told from a sound camera
// by nothing.

#include "fault_walk.h"
#include "model/fault_names.h"
#include "tests/support/wait_until.h"

#include <cerrno>
#include <ctime>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <set>

namespace {

using namespace camsim;
using camsim_test::Ask;
using camsim_test::SAsked;
using camsim_test::SSeen;
using corvane::test_support::CCamsim;
using corvane::test_support::WaitUntil;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr long GivenUp = 1500;     // where nothing, or not all, ever comes
constexpr size_t FewReports = 150; // bytes of a monitor's reply, which has no end
constexpr size_t LargestHeader = 256 * 1024;
constexpr size_t LargestBody = 16 * 1024 * 1024;

// The request that shows a fault of this phase.
SAsked RequestOf(const SNamedFault& fault) {
    static const std::map<std::string, SAsked> requests{
        {"identify", {"/cgi-bin/getinfo?FILE=1", ""}},
        {"capability", {"/cgi-bin/get_capability", ""}},
        {"settings", {"/cgi-bin/setdata", ""}},
        {"write", {"/cgi-bin/set_h264", "h264_resolution=640"}},
        {"read-back", {"/cgi-bin/setdata", ""}},
        {"position", {"/cgi-bin/absget?page=12345&pan&tilt&zoom", ""}},
        {"move", {"/cgi-bin/absctrl?pan=100", ""}},
        {"monitor", {"/cgi-bin/get_io?mode=monitor", ""}},
        {"clock", {"/cgi-bin/getinfo?FILE=1", ""}},
    };
    SAsked asked = requests.at(fault.phase);
    if (fault.name.rfind("level-", 0) == 0)
        asked.path = "/cgi-bin/get_io?command=all";
    return asked;
}

bool IsCut(const SSeen& seen) {
    if (seen.code == CURLE_OK) // libcurl takes an unfinished header for a whole one
        return seen.began() && seen.header.size() >= 4 &&
               seen.header.substr(seen.header.size() - 4) != "\r\n\r\n";
    const bool ended = seen.code == CURLE_PARTIAL_FILE || seen.code == CURLE_RECV_ERROR ||
                       seen.code == CURLE_GOT_NOTHING || seen.code == CURLE_OPERATION_TIMEDOUT;
    return ended && seen.began();
}

bool IsDropped(const SSeen& seen) {
    const bool broken = seen.code == CURLE_GOT_NOTHING || seen.code == CURLE_RECV_ERROR ||
                        seen.code == CURLE_SEND_ERROR || seen.error == ECONNRESET;
    return broken && seen.body.empty() && seen.header.find(" 200 ") == std::string::npos;
}

bool IsNotAnswered(const SSeen& seen) {
    return seen.code == CURLE_OPERATION_TIMEDOUT && seen.header.find(" 200 ") == std::string::npos;
}

bool IsNoHttp(const SSeen& seen) {
    return seen.code == CURLE_WEIRD_SERVER_REPLY || seen.code == CURLE_UNSUPPORTED_PROTOCOL;
}

bool TellsALevel(const SSeen& seen) {
    return seen.status == 200 && (seen.holds(" High") || seen.holds(" Low"));
}

// A reply that was delivered whole and is none that a camera gives.
bool IsOther(const SSeen& seen) {
    return seen.code == CURLE_OK && seen.status == 200 && !seen.body.empty();
}

double SecondsAhead(const SSeen& seen) {
    const time_t told = curl_getdate(seen.headerLine("Date").c_str(), nullptr);
    return told < 0 ? 0 : std::difftime(told, std::time(nullptr));
}

// What a client sees of each cause. `sound`: what it sees of a camera without a fault.
using Sight = std::function<bool(const SSeen& seen, const SSeen& sound)>;

Sight Status(std::set<long> expected) {
    return [=](const SSeen& seen, const SSeen&) { return expected.count(seen.status) == 1; };
}

const std::map<std::string, Sight> Sights{
    {"refused", [](const SSeen& seen, const SSeen&) { return seen.error == ECONNREFUSED; }},
    {"no-answer", [](const SSeen& seen, const SSeen&) { return IsNotAnswered(seen); }},
    {"slow", [](const SSeen& seen, const SSeen&) { return IsCut(seen) && seen.status == 200; }},
    {"dropped", [](const SSeen& seen, const SSeen&) { return IsDropped(seen); }},
    {"cut",
     [](const SSeen& seen, const SSeen&) {
         return TellsALevel(seen) ? seen.code == CURLE_OK || seen.code == CURLE_RECV_ERROR : IsCut(seen);
     }},
    {"not-http", [](const SSeen& seen, const SSeen&) { return IsNoHttp(seen); }},
    {"tls", [](const SSeen& seen, const SSeen&) { return IsNoHttp(seen); }},
    {"redirect", [](const SSeen& seen,
                    const SSeen&) { return seen.status / 100 == 3 && !seen.headerLine("Location").empty(); }},
    {"too-large",
     [](const SSeen& seen, const SSeen&) {
         return seen.header.size() > LargestHeader || seen.body.size() > LargestBody;
     }},
    {"wrong-password", Status({401})},
    {"authentication-endless", Status({401})},
    {"authentication-weaker",
     [](const SSeen& seen, const SSeen&) {
         return seen.status == 401 && seen.headerLine("WWW-Authenticate").rfind("Basic", 0) == 0;
     }},
    {"forbidden", Status({403})},
    {"not-known", Status({404, 501})},
    {"busy", Status({503})},
    {"camera-fault", Status({500})},
    {"odd-status", Status({204, 418})},
    {"not-a-camera",
     [](const SSeen& seen, const SSeen& sound) {
         return IsOther(seen) && seen.body.substr(0, 4) != sound.body.substr(0, 4);
     }},
    {"unknown-model", [](const SSeen& seen, const SSeen&) { return seen.holds("NAME=PX-Z999"); }},
    {"empty",
     [](const SSeen& seen, const SSeen& sound) {
         return seen.code == CURLE_OK && seen.status == 200 && seen.body.empty() && !sound.body.empty();
     }},
    {"damaged",
     [](const SSeen& seen, const SSeen& sound) { return IsOther(seen) && seen.body != sound.body; }},
    {"not-reported",
     [](const SSeen& seen, const SSeen& sound) {
         return IsOther(seen) &&
                (seen.body.size() < sound.body.size() || seen.headerLine("Date") == "yesterday");
     }},
    {"unconfirmed",
     [](const SSeen& seen, const SSeen&) {
         return IsDropped(seen) || IsNotAnswered(seen) || IsCut(seen) || IsNoHttp(seen);
     }},
    {"monitor-refused",
     [](const SSeen& seen, const SSeen&) { return seen.status != 0 && !TellsALevel(seen); }},
    {"monitor-silent",
     [](const SSeen& seen, const SSeen&) {
         return seen.code == CURLE_OPERATION_TIMEDOUT && seen.status == 200 && seen.body.empty();
     }},
    {"level-differs", [](const SSeen& seen, const SSeen&) { return seen.holds(" Low"); }},
    {"clock-off", [](const SSeen& seen, const SSeen&) { return std::abs(SecondsAhead(seen)) > 60; }},
};

bool NeverEnds(const SNamedFault& fault) {
    const auto has = [&](const char* text) {
        return !fault.faults.empty() && fault.faults.front().find(text) != std::string::npos;
    };
    return has("ms=3600000") || has(" stall") || has(" trickle") || has(" silence");
}

// Rows of causes that one request does not show have tests of their own below.
bool IsShownByOneRequest(const SNamedFault& fault) {
    return Sights.count(fault.cause) == 1 && fault.phase != "stream" && fault.phase != "audio" &&
           fault.check != "answer-times" && fault.name != "clock-leaps";
}

// Rows of these, and of the streams, are shown by more than a request.
const std::set<std::string> ShownElsewhere{
    // in this file
    "restarting", "not-accepted", "differs", "answers-slow", "answers-uneven", "answers-lost", "clock-leaps",
    // in fault_ports_test.cpp
    "rtsp-refused", "rtsp-other-port", "rtsp-silent", "rtsp-closed", "rtsp-reset", "rtsp-http",
    "rtsp-garbage",
    // in stream_faults_test.cpp
    "stream-transmission-off", "stream-delivery-off", "describe-refused", "describe-not-found",
    "describe-forbidden", "describe-wrong-password", "describe-redirect", "setup-refused", "play-refused",
    "stream-silent", "stream-frozen", "stream-lost", "stream-other-codec", "stream-other-resolution",
    "stream-other-rate", "audio-off", "audio-silent", "audio-refused", "audio-stops"};

TEST(FaultCatalogue, HasNoRowThatNoTestMakesARequestFor) {
    for (const SNamedFault& fault : FaultCatalogue())
        EXPECT_TRUE(IsShownByOneRequest(fault) ||
                    ShownElsewhere.count(fault.name) + ShownElsewhere.count(fault.cause) > 0)
            << fault.name;
}

class FaultWalk : public testing::TestWithParam<const char*> {};

TEST_P(FaultWalk, SeesEachRowFailAsItSays) {
    CCamsim camsim({"--model", "D850", "--no-rtsp", "--monitor-period", "0.05"});
    Ask(camsim.address(), {"/cgi-bin/set_h264", "h264_resolution=640"});
    size_t walked = 0;
    for (const SNamedFault& fault : FaultCatalogue()) {
        if (fault.phase != GetParam() || !IsShownByOneRequest(fault))
            continue;
        SCOPED_TRACE(fault.name);
        const Sight& shows = Sights.at(fault.cause);
        SAsked asked = RequestOf(fault);
        asked.mostBytes = fault.phase == "monitor" ? FewReports : LargestBody;
        const SSeen sound = Ask(camsim.address(), asked);
        EXPECT_FALSE(shows(sound, sound)) << "without the fault, too: " << sound.body.substr(0, 200);
        camsim.post("/faults", {{"name", fault.name}});
        if (fault.phase == "read-back") {
            EXPECT_TRUE(Ask(camsim.address(), asked).holds("H264SIZE")) << "before a write";
            Ask(camsim.address(), {"/cgi-bin/set_h264", "h264_resolution=640"});
        }
        if (fault.cause == "too-large")
            asked.mostBytes = LargestBody;
        if (NeverEnds(fault))
            asked.milliseconds = GivenUp;
        const SSeen seen = Ask(camsim.address(), asked);
        EXPECT_TRUE(shows(seen, sound)) << curl_easy_strerror(seen.code) << ", status " << seen.status << "\n"
                                        << seen.header.substr(0, 1000) << seen.body.substr(0, 200);
        camsim.erase("/faults");
        ++walked;
    }
    EXPECT_GT(walked, 0U);
}

INSTANTIATE_TEST_SUITE_P(ByPhase, FaultWalk,
                         testing::Values("identify", "capability", "settings", "write", "read-back",
                                         "position", "move", "monitor", "clock"),
                         [](const auto& phase) {
                             std::string name = phase.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

TEST(FaultsOfARestart, BreakTheRequestAndLetTheCameraComeBack) {
    for (const SNamedFault& fault : FaultCatalogue()) {
        if (fault.cause != "restarting")
            continue;
        SCOPED_TRACE(fault.name);
        const CCamsim camsim({"--model", "D850", "--no-rtsp", "--fault", fault.name});
        if (fault.phase == "read-back")
            Ask(camsim.address(), {"/cgi-bin/set_h264", "h264_resolution=640"});
        if (fault.faults.size() > 1) {
            EXPECT_EQ(Ask(camsim.address(), RequestOf(fault)).status, 503);
        }
        EXPECT_NE(Ask(camsim.address(), RequestOf(fault)).code, CURLE_OK);
        EXPECT_EQ(Ask(camsim.address(), RequestOf(fault)).code, CURLE_COULDNT_CONNECT);
        EXPECT_EQ(camsim.get("/cameras/0").at("away"), true);
    }
    // So long that libcurl, which sends a request again whose connection broke, finds nobody.
    const CCamsim camsim({"--no-rtsp", "--fault", "/* restart ms=700 count=1"});
    EXPECT_NE(Ask(camsim.address(), {"/cgi-bin/setdata", ""}).code, CURLE_OK);
    EXPECT_TRUE(WaitUntil([&] { return Ask(camsim.address(), {"/cgi-bin/setdata", ""}).status == 200; }));
}

TEST(FaultsOfWrites, LeaveOtherValuesThanWereWritten) {
    const CCamsim camsim({"--model", "D850", "--no-rtsp"});
    const auto size = [&] { return camsim.get("/cameras/0/settings").at("H264SIZE").get<std::string>(); };
    const auto write = [&](const std::string& value) {
        const SSeen seen = Ask(camsim.address(), {"/cgi-bin/set_h264", "h264_resolution=" + value});
        EXPECT_TRUE(seen.holds("h264_resolution=" + value)) << seen.body;
    };
    write("320");
    camsim.post("/faults", {{"name", "write-not-accepted"}});
    write("320"); // the value that it has
    EXPECT_EQ(size(), "319");
    camsim.erase("/faults");
    write("640");
    camsim.post("/faults", {{"name", "write-ignored"}});
    write("1280");
    EXPECT_EQ(size(), "640");
    camsim.erase("/faults");
    camsim.post("/faults", {{"name", "write-jumps-back"}});
    write("320");
    EXPECT_TRUE(WaitUntil([&] { return size() == "640"; }));
    camsim.erase("/faults");
    camsim.post("/faults", {{"name", "move-ignored"}});
    EXPECT_EQ(Ask(camsim.address(), {"/cgi-bin/absctrl?pan=100", ""}).status, 200);
    EXPECT_EQ(camsim.get("/cameras/0").at("position").at("moving"), false);
}

TEST(FaultsOfSomeAnswers, HitEachSoManyth) {
    const CCamsim camsim({"--model", "D850", "--no-rtsp", "--auth", "none"});
    const auto answered = [&](long milliseconds) {
        std::string signs;
        for (int i = 0; i < 8; ++i)
            signs += Ask(camsim.address(), {"/cgi-bin/getinfo", "", milliseconds}).status == 200 ? '+' : '-';
        return signs;
    };
    camsim.post("/faults", {{"name", "answers-lost"}});
    EXPECT_EQ(answered(30'000), "+++-+++-");
    camsim.erase("/faults");
    camsim.post("/faults", {{"name", "answers-uneven"}});
    EXPECT_EQ(answered(GivenUp), "+++-+++-");
    camsim.erase("/faults");
    camsim.post("/faults", {{"name", "answers-slow"}});
    EXPECT_EQ(answered(GivenUp / 10), "--------");
    camsim.erase("/faults");

    camsim.post("/faults", {{"name", "clock-leaps"}});
    for (const bool ahead : {false, true, false, true})
        EXPECT_EQ(SecondsAhead(Ask(camsim.address(), {"/cgi-bin/getinfo", ""})) > 80'000, ahead);
    camsim.erase("/faults");

    camsim.post("/faults", {{"name", "duplicate-address"}});
    const auto lineOf = [&](const std::string& key) {
        const std::string text = Ask(camsim.address(), {"/cgi-bin/getinfo", ""}).body;
        return text.substr(text.find(key), text.find('\r', text.find(key)) - text.find(key));
    };
    const std::string own = lineOf("MAC=");
    EXPECT_EQ(lineOf("NAME="), "NAME=PX-D870");
    EXPECT_EQ(lineOf("NAME="), "NAME=PX-D850");
    EXPECT_NE(lineOf("MAC="), own);
}

TEST(FaultsOfAMonitor, TellBothLevelsInTurn) {
    const CCamsim camsim({"--model", "D850", "--no-rtsp", "--fault", "monitor-both-levels"});
    const std::string levels = Ask(camsim.address(), {"/cgi-bin/get_io?mode=monitor", "", 30'000, 110}).body;
    std::string told;
    for (size_t at = 0; (at = levels.find("terminal1 I ", at)) != levels.npos; at += 12)
        told += levels[at + 12];
    EXPECT_THAT(told, HasSubstr("HLH")) << levels;
}

TEST(Authentication, ChangesItsPasswordAndSchemeWhileItRuns) {
    const CCamsim camsim({"--no-rtsp"});
    SAsked asked{"/cgi-bin/getinfo", ""};
    EXPECT_EQ(Ask(camsim.address(), asked).status, 200);
    camsim.patch("/authentication", {{"password", "other words"}});
    EXPECT_EQ(Ask(camsim.address(), asked).status, 401);
    asked.password = "other words";
    EXPECT_EQ(Ask(camsim.address(), asked).status, 200);
    camsim.patch("/authentication", {{"password", "third"}, {"scheme", "basic"}});
    asked.schemes = CURLAUTH_BASIC;
    EXPECT_EQ(Ask(camsim.address(), asked).status, 401);
    asked.password = "third";
    EXPECT_EQ(Ask(camsim.address(), asked).status, 200);
    for (const json& bad : {json::object(), json{{"password", 7}}, json{{"scheme", "digest"}, {"user", "x"}},
                            json{{"scheme", "Digest"}, {"password", "x"}}})
        EXPECT_THROW(camsim.patch("/authentication", bad), std::runtime_error) << bad;

    camsim.patch("/authentication", {{"password", "12345"}, {"scheme", "digest"}});
    camsim.post("/faults", {{"name", "basic-alone"}});
    EXPECT_EQ(Ask(camsim.address(), asked).status, 401);
    asked.password = "12345";
    EXPECT_EQ(Ask(camsim.address(), asked).status, 200);
}

} // namespace
