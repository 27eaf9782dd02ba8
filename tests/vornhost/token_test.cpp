#include "tests/vornhost/vornhost_support.h"

namespace corvane::vornhost_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// The names and roles of the file.
std::vector<std::string> Listed(const std::vector<std::string>& where,
                                const CProgram::Environment& environment = {}) {
    std::vector<std::string> words{"token", "list", "--json"};
    words.insert(words.end(), where.begin(), where.end());
    const SRun run = Vornhost(words, "", environment);
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<std::string> entries;
    for (const json& line : JsonLines(run.out))
        entries.push_back(line.at("name").get<std::string>() + ": " + line.at("role").get<std::string>());
    return entries;
}

TEST(Token, IsMadeListedAndRevoked) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("mine.json");
    const SRun added = Vornhost({"token", "add", "front desk", "--role", "operate", "--token-file", file});
    EXPECT_EQ(added.status, 0) << added.err;
    EXPECT_THAT(added.out, testing::MatchesRegex("[A-Za-z0-9_-]{43}\n"));
    const SRun another =
        Vornhost({"--json", "token", "add", "boss", "--role", "admin", "--token-file", file});
    const json told = JsonLines(another.out).at(0);
    EXPECT_EQ(told.at("name"), "boss");
    EXPECT_EQ(told.at("role"), "admin");

    EXPECT_THAT(Listed({"--token-file", file}), ElementsAre("front desk: operate", "boss: admin"));
    const std::string table = Vornhost({"token", "list", "--token-file", file}).out;
    EXPECT_THAT(table, HasSubstr("front desk  operate"));
    for (const std::string& token : {added.out.substr(0, 43), told.at("token").get<std::string>()})
        EXPECT_THAT(table + folder.contents(), Not(HasSubstr(token)));

    EXPECT_THAT(Vornhost({"token", "revoke", "front desk", "--token-file", file}).out, IsEmpty());
    EXPECT_EQ(JsonLines(Vornhost({"--json", "token", "revoke", "boss", "--token-file", file}).out).at(0),
              json({{"name", "boss"}, {"role", "admin"}, {"revoked", true}}));
    EXPECT_THAT(Listed({"--token-file", file}), IsEmpty());
}

TEST(Token, GoesIntoTheStateDirectoryOfTheService) {
    const CTemporaryFolder folder;
    const CProgram::Environment environment{{"STATE_DIRECTORY", ""}, {"XDG_STATE_HOME", folder.file("xdg")}};
    EXPECT_EQ(Vornhost({"token", "add", "a", "--role", "view"}, "", environment).status, 0);
    EXPECT_EQ(Vornhost({"token", "add", "b", "--role", "view", "--state", folder.file("yard")}).status, 0);
    EXPECT_THAT(Listed({}, environment), ElementsAre("a: view"));
    EXPECT_THAT(Listed({"--token-file", folder.file("xdg") + "/vornhost/tokens.json"}),
                ElementsAre("a: view"));
    EXPECT_THAT(Listed({"--state", folder.file("yard")}), ElementsAre("b: view"));
}

TEST(Token, MistakesAreToldWithTheirCause) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("tokens.json", R"({"tokens": [{"name": "a", "role": "all"}]})");
    const std::string none = folder.file("none.json");
    const struct {
        std::vector<std::string> arguments;
        const char* told;
        const char* cause;
    } cases[] = {
        {{"add", "b", "--role", "all", "--token-file", none}, "all", "wrong-usage"},
        {{"add", "b", "--token-file", none}, "--role", "wrong-usage"},
        {{"add", "", "--role", "view", "--token-file", none}, "expected a name", "wrong-usage"},
        {{"list", "--token-file", none, "--state", "x"}, "excludes", "wrong-usage"},
        {{"revoke", "b", "--token-file", none}, "there is no token", "wrong-usage"},
        {{"list", "--token-file", none}, "No such file", "wrong-file"},
        {{"add", "b", "--role", "view", "--token-file", file}, "missing member \"sha256\"", "wrong-file"},
        {{"add", "b", "--role", "view", "--token-file", "/nowhere/t"}, "cannot be written", "cannot-write"},
        {{"add", "b", "--role", "view", "--state", file}, "state directory", "cannot-write"},
    };
    for (const auto& one : cases) {
        std::vector<std::string> words{"--json", "token"};
        words.insert(words.end(), one.arguments.begin(), one.arguments.end());
        const SRun run = Vornhost(words);
        EXPECT_EQ(run.status, 2);
        EXPECT_THAT(run.err, HasSubstr(one.told));
        ASSERT_THAT(run.out, Not(IsEmpty())) << run.err;
        EXPECT_EQ(JsonLines(run.out).at(0).at("problem").at("cause"), one.cause) << run.err;
    }
}

} // namespace
} // namespace corvane::vornhost_test
