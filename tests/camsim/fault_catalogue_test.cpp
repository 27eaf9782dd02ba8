// The faults that have a name: that the table is sound, and how they are listed, set and removed.

#include "model/fault_names.h"
#include "model/named_faults.h"
#include "tests/support/camsim_process.h"

#include <fstream>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

namespace {

using namespace camsim;
using corvane::test_support::CCamsim;
using corvane::test_support::RunProgram;
using corvane::test_support::SRun;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

const std::set<std::string> Phases{"address", "identify",  "initialize", "capability", "settings",
                                   "write",   "read-back", "position",   "move",       "monitor",
                                   "stream",  "audio",     "clock",      "site"};
const std::set<std::string> Checks{"address",     "connect",   "http",       "identity", "model",
                                   "credentials", "settings",  "capability", "clock",    "answer-times",
                                   "stream",      "audio",     "input",      "position", "drift",
                                   "write-test",  "move-test", "none"};
const std::set<std::string> Causes{"name-not-found",
                                   "unreachable",
                                   "refused",
                                   "no-answer",
                                   "slow",
                                   "dropped",
                                   "cut",
                                   "not-http",
                                   "tls",
                                   "redirect",
                                   "too-large",
                                   "no-credentials",
                                   "wrong-password",
                                   "authentication-endless",
                                   "authentication-weaker",
                                   "forbidden",
                                   "not-known",
                                   "busy",
                                   "camera-fault",
                                   "odd-status",
                                   "not-a-camera",
                                   "unknown-model",
                                   "empty",
                                   "damaged",
                                   "not-reported",
                                   "not-supported",
                                   "restarting",
                                   "wrong-value",
                                   "not-accepted",
                                   "unconfirmed",
                                   "differs",
                                   "stream-off",
                                   "stream-refused",
                                   "stream-unreachable",
                                   "no-picture",
                                   "no-sound",
                                   "wrong-stream",
                                   "stream-lost",
                                   "monitor-refused",
                                   "monitor-silent",
                                   "level-differs",
                                   "clock-off"};

std::vector<json> Rows() {
    std::vector<json> rows;
    std::istringstream lines(RunProgram("camsim", {"faults", "--json"}).out);
    for (std::string line; std::getline(lines, line);)
        rows.push_back(json::parse(line));
    return rows;
}

// The row as docs/faults.md has it.
std::string Documented(const json& row) {
    std::string made;
    const auto add = [&](const std::string& part) { made += (made.empty() ? "" : "<br>") + part; };
    for (const std::string part : row.at("faults"))
        add("`" + part + "`");
    for (const auto& [key, value] : row.at("settings").items())
        add(value.is_null() ? "setting `" + key + "` taken away"
                            : "setting `" + key + "=" + value.get<std::string>() + "`");
    const auto text = [&](const char* member) { return row.at(member).get<std::string>(); };
    return "| `" + text("name") + "` | " + text("what") + " | " + text("phase") + " | " + text("check") +
           " | `" + text("cause") + "` | " + std::to_string(row.at("seconds").get<int>()) + " | " + made +
           " |";
}

TEST(FaultCatalogue, HasRowsThatAreWellFormedAndTheirOwn) {
    std::set<std::string> names;
    std::set<std::string> sentences;
    std::set<json> makings;
    for (const SNamedFault& fault : FaultCatalogue()) {
        SCOPED_TRACE(fault.name);
        EXPECT_TRUE(std::regex_match(fault.name, std::regex("[a-z]+(-[a-z0-9]+)+")));
        EXPECT_TRUE(names.insert(fault.name).second);
        EXPECT_TRUE(sentences.insert(fault.what).second);
        EXPECT_TRUE(makings
                        .insert(json{fault.phase == "identify", DescribeNamedFault(fault)["faults"],
                                     DescribeNamedFault(fault)["settings"]})
                        .second);
        EXPECT_TRUE(std::regex_match(fault.what, std::regex("[A-Z][^|]*[^.|]\\.")));
        EXPECT_EQ(Phases.count(fault.phase), 1U) << fault.phase;
        EXPECT_EQ(Checks.count(fault.check), 1U) << fault.check;
        EXPECT_EQ(Causes.count(fault.cause), 1U) << fault.cause;
        EXPECT_GT(fault.seconds, 0);
        EXPECT_LE(fault.seconds, 30);
        EXPECT_FALSE(fault.faults.empty() && fault.settings.empty());
    }
    EXPECT_GE(names.size(), 100U);
}

TEST(FaultCatalogue, IsWhatTheDocumentSays) {
    std::ifstream file(FAULTS_DOCUMENT);
    ASSERT_TRUE(file);
    std::vector<std::string> documented;
    for (std::string line; std::getline(file, line);)
        if (line.rfind("| `", 0) == 0)
            documented.push_back(line);
    std::vector<std::string> rows;
    for (const json& row : Rows())
        rows.push_back(Documented(row));
    EXPECT_THAT(documented, UnorderedElementsAreArray(rows));
}

TEST(FaultCatalogue, SetsEveryRowAndTakesItBack) {
    std::vector<std::unique_ptr<CCamera>> cameras;
    for (size_t i = 0; i < 2; ++i)
        cameras.push_back(std::make_unique<CCamera>(i, LoadEmbeddedModel("D850")));
    CFaultList faults;
    CNamedFaults named(cameras, faults);
    const auto before = cameras[0]->settings();
    for (const SNamedFault& fault : FaultCatalogue()) {
        SCOPED_TRACE(fault.name);
        EXPECT_EQ(named.set(fault.name).size(), fault.faults.size());
        for (const SFault& part : faults.list())
            EXPECT_EQ(part.name, fault.name);
        for (const auto& [key, value] : fault.settings)
            for (const auto& camera : cameras)
                EXPECT_EQ(camera->setting(key), value) << key;
        EXPECT_TRUE(fault.settings.empty() || cameras[1]->settings() != before); // it is no setting anyway
        EXPECT_TRUE(named.unset(fault.name));
        EXPECT_FALSE(named.unset(fault.name));
        EXPECT_THAT(faults.list(), IsEmpty());
        EXPECT_EQ(cameras[0]->settings(), before);
    }
}

TEST(FaultCatalogue, LeavesASettingThatSomebodyChangedMeanwhile) {
    std::vector<std::unique_ptr<CCamera>> cameras;
    for (size_t i = 0; i < 2; ++i)
        cameras.push_back(std::make_unique<CCamera>(i, LoadEmbeddedModel("F320")));
    CFaultList faults;
    CNamedFaults named(cameras, faults);
    named.set("stream-transmission-off");
    cameras[0]->putSetting("H264", "7");
    named.clear();
    EXPECT_EQ(cameras[0]->setting("H264"), "7");
    EXPECT_EQ(cameras[1]->setting("H264"), "1");

    named.set("stream-transmission-off", 1);
    EXPECT_EQ(cameras[0]->setting("H264"), "7");
    EXPECT_EQ(cameras[1]->setting("H264"), "0");
    EXPECT_THROW(named.set("stream-transmission-off", 2), CFaultError);
}

TEST(FaultCatalogue, ARowMayBeSetAtSeveralCamerasAndGoesFromEachAlone) {
    std::vector<std::unique_ptr<CCamera>> cameras;
    for (size_t i = 0; i < 3; ++i)
        cameras.push_back(std::make_unique<CCamera>(i, LoadEmbeddedModel("F320")));
    CFaultList faults;
    CNamedFaults named(cameras, faults);
    const char* const name = "stream-transmission-off";
    const std::string on = cameras[2]->setting("H264").value_or("");
    named.set(name, 0);
    named.set(name, 1);
    named.set(name, 1); // anew
    EXPECT_THAT(named.list(), ElementsAre(name));
    EXPECT_EQ(cameras[0]->setting("H264"), "0");
    EXPECT_EQ(cameras[2]->setting("H264"), on);
    EXPECT_TRUE(named.unsetAt(name, 0));
    EXPECT_EQ(cameras[0]->setting("H264"), on);
    EXPECT_EQ(cameras[1]->setting("H264"), "0");
    named.set(name); // at all, in place of the one
    EXPECT_FALSE(named.unsetAt(name, 1));
    EXPECT_TRUE(named.unset(name));
    for (const auto& camera : cameras)
        EXPECT_EQ(camera->setting("H264"), on);
}

TEST(FaultCatalogue, IsListedForEyes) {
    const SRun run = RunProgram("camsim", {"faults"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(static_cast<size_t>(std::count(run.out.begin(), run.out.end(), '\n')), 1 + Rows().size());
    EXPECT_THAT(run.out, HasSubstr("settings-html  "));
}

TEST(FaultCatalogue, IsSetByNameFromTheCommandLine) {
    const CCamsim camsim({"--fault", "settings-html", "--fault", "stream-transmission-off", "--fault",
                          "/x body body=\"a \\\"b\\\"\\r\\n\" count=3"});
    const json listed = camsim.get("/faults");
    EXPECT_THAT(listed.at("named"), ElementsAre("settings-html", "stream-transmission-off"));
    ASSERT_EQ(listed.at("faults").size(), 2U);
    EXPECT_EQ(listed.at("faults").at(0).at("name"), "settings-html");
    EXPECT_EQ(listed.at("faults").at(1).count("name"), 0U);
    EXPECT_EQ(listed.at("faults").at(1).at("body"), "a \"b\"\r\n");
    EXPECT_EQ(camsim.get("/cameras/0/settings").at("H264"), "0");

    for (const auto& [given, told] : std::vector<std::pair<std::string, std::string>>{
             {"setings-html", "there is no fault 'setings-html'; near: settings-html"},
             {"html", "near: web-html, identify-html, capability-html"},
             {"xxxxxxxxxxxx", "there is no fault 'xxxxxxxxxxxx' (camsim faults"},
             {"/x body body=\"a", "expected a JSON text in double quotes"},
             {"/x body nonsense", "'nonsense': expected key=value"}}) {
        const SRun run = RunProgram("camsim", {"--fault", given});
        EXPECT_EQ(run.status, 2) << given;
        EXPECT_THAT(run.err, AllOf(HasSubstr("--fault: "), HasSubstr(told)));
    }
}

TEST(FaultCatalogue, IsSetAndRemovedByNameThroughTheControlInterface) {
    const CCamsim camsim({"--count", "2", "--no-rtsp"});
    const json set = camsim.post("/faults", {{"name", "password-changed"}, {"camera", 1}});
    ASSERT_EQ(set.at("ids").size(), 2U);
    const json listed = camsim.get("/faults");
    for (const json& part : listed.at("faults")) {
        EXPECT_EQ(part.at("name"), "password-changed");
        EXPECT_EQ(part.at("camera"), 1);
    }
    EXPECT_EQ(camsim.post("/faults", {{"name", "password-changed"}}).at("ids").size(), 2U); // anew
    EXPECT_EQ(camsim.get("/faults").at("faults").size(), 2U);

    const json part = camsim.get("/faults").at("faults").at(0).at("id");
    camsim.erase("/faults/" + part.dump()); // a part, and with it all
    EXPECT_EQ(camsim.get("/faults"), json({{"faults", json::array()}, {"named", json::array()}}));

    camsim.post("/faults", {{"name", "stream-transmission-off"}});
    camsim.erase("/faults?name=stream-transmission-off");
    EXPECT_EQ(camsim.get("/cameras/1/settings").at("H264"), "1");
    camsim.post("/faults", {{"name", "stream-transmission-off"}});
    camsim.erase("/faults");
    EXPECT_EQ(camsim.get("/cameras/1/settings").at("H264"), "1");

    for (const json& bad :
         {json{{"name", "password-changd"}}, json{{"name", 7}},
          json{{"name", "password-changed"}, {"camera", 2}},
          json{{"name", "password-changed"}, {"camera", -1}}, json{{"name", "password-changed"}, {"ms", 7}}})
        EXPECT_THROW(camsim.post("/faults", bad), std::runtime_error) << bad;
    EXPECT_THROW(camsim.erase("/faults?name=password-changed"), std::runtime_error);
}

} // namespace
