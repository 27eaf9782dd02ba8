// A camera that offers Basic authentication alone: what is told of it, and what becomes of it where it is
// refused.

#include "tests/vornhost/vornhost_support.h"

#include <csignal>
#include <fstream>
#include <set>

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* Cause = "authentication-weaker";

// With which credentials the camera has been asked, as camsim names them.
std::set<std::string> ShownTo(const CCamsim& camsim) {
    std::set<std::string> shown;
    const json log = camsim.get("/requests");
    for (const json& request : log.at("requests"))
        shown.insert(request.at("authorization"));
    return shown;
}

json ProblemsOf(const SRun& show) {
    return JsonLines(show.out).at(0).at("problems");
}

int NoticesOf(const std::string& log) {
    int count = 0;
    for (std::size_t at = 0; (at = log.find("offers Basic authentication alone", at)) != std::string::npos;
         ++at)
        ++count;
    return count;
}

TEST(Authentication, BasicAloneIsAWarning) {
    const CCamsim camsim({"--auth", "basic"});
    const SRun eyes = Vornhost({"--log-level", "2", "show", camsim.address()});
    EXPECT_EQ(eyes.status, 0);
    EXPECT_THAT(eyes.out, HasSubstr("the camera offers Basic authentication alone"));
    EXPECT_EQ(NoticesOf(eyes.err), 1) << eyes.err;

    const SRun run = Vornhost({"show", "--json", camsim.address()});
    EXPECT_EQ(run.status, 0);
    const json problems = ProblemsOf(run);
    ASSERT_EQ(problems.size(), 1U) << problems;
    EXPECT_EQ(problems[0].at("cause"), Cause);
    EXPECT_EQ(problems[0].at("certain"), true);
    EXPECT_EQ(problems[0].at("phase"), "identify");
    EXPECT_EQ(problems[0].at("asked"), "GET http://" + camsim.address() + "/cgi-bin/getinfo?FILE=1");
    EXPECT_THAT(problems[0].at("answered").get<std::string>(), AllOf(HasSubstr("401"), HasSubstr("Basic")));
    EXPECT_THAT(problems[0].at("try").get<std::string>(), HasSubstr("--digest-only"));

    // A warning stands beside what is wrong, and does not hide it.
    const SRun failing = Vornhost({"--model", "F320", "show", "--json", camsim.address()}, "",
                                  {{"VORNHOST_PASSWORD", "other"}});
    EXPECT_EQ(failing.status, 3);
    EXPECT_EQ(ProblemsOf(failing).size(), 2U);
}

TEST(Authentication, AFallFromDigestIsRememberedInTheDatabaseAlone) {
    const CTemporaryFolder folder;
    const CCamsim camsim;
    const std::string file = folder.file("devices.db");
    const auto show = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments = options;
        arguments.insert(arguments.end(), {"--json", "--log-level", "2", "show", camsim.address()});
        return Vornhost(arguments);
    };
    EXPECT_THAT(ProblemsOf(show({"--db", file})), IsEmpty());
    camsim.patch("/authentication", {{"scheme", "basic"}});
    for (int i = 0; i < 2; ++i) { // until it has Digest again
        const SRun fallen = show({"--db", file});
        EXPECT_EQ(fallen.status, 0);
        EXPECT_EQ(NoticesOf(fallen.err), 1);
        const json problems = ProblemsOf(fallen);
        ASSERT_EQ(problems.size(), 1U);
        EXPECT_EQ(problems[0].at("cause"), Cause);
        EXPECT_THAT(problems[0].at("text").get<std::string>(),
                    AllOf(HasSubstr("had Digest before"), HasSubstr("in between"), HasSubstr("reset")));
        EXPECT_THAT(problems[0].at("answered").get<std::string>(), HasSubstr("before, Digest was"));
    }
    EXPECT_THAT(ProblemsOf(show({})).at(0).at("text").get<std::string>(), Not(HasSubstr("before")));
    camsim.patch("/authentication", {{"scheme", "digest"}});
    EXPECT_THAT(ProblemsOf(show({"--db", file})), IsEmpty());
}

TEST(Authentication, DigestOnlyRefusesBasicInEveryVerb) {
    const CCamsim camsim({"--auth", "basic", "--model", "D850"});
    const std::vector<std::string> verbs[] = {{"show", "ADDRESS"},
                                              {"image", "ADDRESS"},
                                              {"call", "ADDRESS", "testAuthentication"},
                                              {"script", "ADDRESS"},
                                              {"events", "ADDRESS", "--input", "0"},
                                              {"sync", "ADDRESS", "--stream", "0,h264,0", "frameRate=1"}};
    for (const std::vector<std::string>& verb : verbs) {
        std::vector<std::string> arguments = {"--digest-only", "--model", "D850"};
        for (const std::string& argument : verb)
            arguments.push_back(argument == "ADDRESS" ? camsim.address() : argument);
        const SRun run = Vornhost(arguments);
        EXPECT_EQ(run.status, 3) << verb[0];
        EXPECT_THAT(run.err, AllOf(HasSubstr("offers Basic authentication alone, which is refused"),
                                   HasSubstr("answered  HTTP status 401 Unauthorized: Basic ")))
            << verb[0];
    }
    const SRun identified = Vornhost({"--digest-only", "identify", "--json", camsim.address()});
    EXPECT_EQ(identified.status, 1);
    EXPECT_EQ(JsonLines(identified.out).at(0).at("problem").at("cause"), Cause);
    EXPECT_THAT(identified.err, HasSubstr("which is refused"));
    const json shown =
        ProblemsOf(Vornhost({"--digest-only", "--model", "D850", "show", "--json", camsim.address()}));
    ASSERT_EQ(shown.size(), 1U) << shown;
    EXPECT_EQ(shown[0].at("cause"), Cause);
    EXPECT_EQ(shown[0].at("phase"), "initialize");
    EXPECT_THAT(ShownTo(camsim), ElementsAre("none"));

    const CCamsim good;
    const SRun run = Vornhost({"--digest-only", "show", "--json", good.address()});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(ProblemsOf(run), IsEmpty());
}

TEST(Authentication, DigestOnlyHoldsForACameraThatFallsBackWhileItIsWatched) {
    const CCamsim camsim({"--model", "D850", "--reboot-seconds", "0"});
    CProgram program("vornhost",
                     {"--digest-only", "events", camsim.address(), "--input", "0", "--reconnect"});
    program.readLine();
    camsim.erase("/requests");
    camsim.patch("/authentication", {{"scheme", "basic"}});
    camsim.post("/cameras/0/reboot", nullptr);
    // The second could be the answer to the first's challenge.
    EXPECT_TRUE(WaitUntil([&] {
        const std::vector<std::string> paths = camsim.requestedPaths();
        return std::count(paths.begin(), paths.end(), "/cgi-bin/get_io?mode=monitor") >= 2;
    }));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait().status, 0);
    EXPECT_EQ(ShownTo(camsim).count("basic"), 0U);
}

std::string ListWithDigestOnly(const CTemporaryFolder& folder, const std::string& family) {
    std::ifstream shipped(MODELS_FILE);
    json list = json::parse(shipped);
    for (json& one : list.at("families"))
        if (one.at("name") == family)
            one["digestOnly"] = true;
    return folder.file("models.json", list.dump());
}

// Of two families NetworkCamera and Encoder.
TEST(Authentication, AFamilyOfTheModelListMayRefuseBasic) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--auth", "basic", "--model", "GXE500", "--model", "F320", "--count", "2"});
    const std::string list = ListWithDigestOnly(folder, "Encoder");
    for (const json& model : JsonLines(Vornhost({"--models", list, "--json", "models"}).out))
        EXPECT_EQ(model.at("digestOnly"), model.at("family") == "Encoder") << model;
    EXPECT_THAT(Vornhost({"--models", list, "models"}).out, HasSubstr("Digest only"));

    // Who it is cannot be asked without showing the password.
    EXPECT_EQ(
        ProblemsOf(Vornhost({"--models", list, "show", "--json", camsim.addresses()[1]})).at(0).at("cause"),
        Cause);
    EXPECT_EQ(Vornhost({"--models", list, "--model", "GXE500", "show", camsim.addresses()[0]}).status, 3);
    EXPECT_THAT(ShownTo(camsim), ElementsAre("none"));

    // Of whom it is known, by the option or the database, that its family does not mind.
    const std::vector<std::string> known = {"--models", list, "--db", folder.file("devices.db")};
    for (const bool isTold : {true, false}) {
        std::vector<std::string> arguments = known;
        if (isTold)
            arguments.insert(arguments.end(), {"--model", "F320"});
        arguments.insert(arguments.end(), {"show", camsim.addresses()[1]});
        EXPECT_EQ(Vornhost(arguments).status, 0) << isTold;
    }
}

} // namespace
} // namespace corvane::vornhost_test
