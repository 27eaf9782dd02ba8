// What the program refuses, and what it tells without a camera.

#include "tests/vornhost/vornhost_support.h"

#include <cstdlib>

namespace corvane::vornhost_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* Nobody = "127.0.0.1:9";

TEST(CommandLine, WrongUsageEndsWith2AndTellsWhatWasExpected) {
    const CTemporaryFolder folder;
    const struct {
        std::vector<std::string> arguments;
        std::vector<std::string> told;
    } cases[] = {
        {{}, {"expected a verb", "identify"}},
        {{"frobnicate"}, {"expected a verb", "frobnicate"}},
        {{"--frobnicate", "models"}, {"--frobnicate"}},
        {{"--log-level", "x", "models"}, {"--log-level", "x", "0 to 4"}},
        {{"--timeout", "nan", "show", Nobody}, {"--timeout", "nan", "0.1 to 3600"}},
        {{"show"}, {"ADDRESS"}},
        {{"show", Nobody, "more"}, {"more"}},
        {{"call", Nobody}, {"OPERATION"}},
        {{"identify", Nobody, "a/b"}, {"a/b", "expected a host name"}},
        {{"show", "127.0.0.1:99999"}, {"127.0.0.1:99999", "65535"}},
        {{"--model", "F999", "call", Nobody, "getUnitModelName"}, {"F999", "model list"}},
        {{"call", Nobody, "getUnitModelNam"}, {"getUnitModelNam", "did you mean getUnitModelName"}},
        {{"call", Nobody, "getCameraName"}, {"getCameraName", "input"}},
        {{"--no-initialize", "call", Nobody, "getCameraName", "x"}, {"\"x\"", "input", "number"}},
        {{"--no-credentials", "--user", "a", "show", Nobody}, {"--no-credentials", "--user"}},
        {{"--password-file", folder.file("missing"), "show", Nobody}, {"missing", "No such file"}},
        {{"--password-file", folder.file("empty", ""), "show", Nobody}, {"empty", "first line"}},
        {{"--models", folder.file("bad.json", "{]"), "models"}, {"bad.json"}},
        {{"--models", folder.file("bad.json"), "show", Nobody}, {"bad.json"}},
        {{"--db", folder.file("bad.json"), "show", Nobody}, {"--db", "bad.json"}},
    };
    for (const auto& test : cases) {
        const SRun run = Vornhost(test.arguments);
        EXPECT_EQ(run.status, 2) << run.err;
        EXPECT_THAT(run.out, IsEmpty());
        for (const std::string& text : test.told)
            EXPECT_THAT(run.err, HasSubstr(text));
    }
}

TEST(CommandLine, APluginThatCannotBeLoadedEndsWith3) {
    const CTemporaryFolder folder;
    for (const std::string& file : {folder.file("missing.so"), folder.file("text.so", "no library")}) {
        const SRun run = Vornhost({"--plugin", file, "show", Nobody});
        EXPECT_EQ(run.status, 3);
        EXPECT_THAT(run.err, AllOf(HasSubstr("plug-in could not be loaded"), HasSubstr(file)));
    }
    const std::string built = std::string(std::getenv("VORN_BIN")) + "/../lib/libpanasonic_handler.so";
    EXPECT_EQ(Vornhost({"--plugin", built, "operations"}).status, 0);
}

// Scripts read the first line.
TEST(CommandLine, VersionsAreToldOfAllThatTakesPart) {
    const CTemporaryFolder folder;
    const std::string models = folder.file("models.json", "{");
    const SRun run = Vornhost({"--version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, testing::MatchesRegex("vornhost [0-9.]+\n"
                                               "plug-in    [0-9.]+ from /.*/libpanasonic_handler.so\n"
                                               "framework  1[0-9.]+\n"
                                               "models     6 in /.*/models.json\n"
                                               "libcurl/.*\nGStreamer 1.*\n"));
    const SRun broken = Vornhost({"--plugin", "/nowhere.so", "--models", models, "--version"});
    EXPECT_EQ(broken.status, 0);
    EXPECT_THAT(broken.out,
                AllOf(testing::StartsWith("vornhost "), HasSubstr("plug-in    none: /nowhere.so: "),
                      HasSubstr("models     none: "), HasSubstr(models)));
}

// Where no camera is to blame, a program is told so in the same way.
TEST(CommandLine, WhatIsWrongOnThisSideHasItsCause) {
    const CTemporaryFolder folder;
    const std::string torn = folder.file("torn.json", "{");
    const struct {
        std::vector<std::string> words;
        const char* cause;
        int status;
    } rows[] = {
        {{"sho", "localhost"}, "wrong-usage", 2},
        {{"show", "localhost:0"}, "wrong-usage", 2},
        {{"record", "localhost", "--stream", "0,h264,0"}, "wrong-usage", 2},
        {{"sync", "localhost", "--stream", "0,3,0", "frameRate=15"}, "wrong-usage", 2},
        {{"--models", torn, "models"}, "wrong-file", 2},
        {{"--password-file", "/nowhere", "--user", "admin", "show", "localhost"}, "wrong-file", 2},
        {{"--db", "/nowhere/devices.db", "show", "localhost"}, "wrong-file", 2},
        {{"--plugin", torn, "operations"}, "no-plugin", 3},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = row.words;
        words.emplace_back("--json");
        const SRun run = Vornhost(words);
        EXPECT_EQ(run.status, row.status) << run.out;
        EXPECT_EQ(json::parse(run.out).at("problem").at("cause"), row.cause) << run.out;
        EXPECT_THAT(run.err, HasSubstr("vornhost: "));
    }
    // What is always for programs.
    EXPECT_EQ(json::parse(Vornhost({"--plugin", torn, "script", Nobody}).out).at("problem").at("cause"),
              "no-plugin");
    EXPECT_EQ(json::parse(Vornhost({"events", Nobody}).out).at("event"), "problem");
    const json call = json::parse(Vornhost({"--json", "call", Nobody, "getUnitModelNam"}).out);
    EXPECT_EQ(call.at("operation"), "getUnitModelNam");
    EXPECT_THAT(call.at("error"), HasSubstr("did you mean getUnitModelName"));
    EXPECT_EQ(call.at("problem").at("cause"), "wrong-usage");
}

// What is opened next must not take the place of an output that is closed.
TEST(CommandLine, AClosedOutputIsAFailure) {
    const std::string closed = std::string(std::getenv("VORN_BIN")) + "/vornhost models >&- 2>/dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(closed.c_str())), 1);
}

TEST(CommandLine, HelpNamesEveryVerbAndEveryVerbHasHelp) {
    const SRun help = Vornhost({"--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* verb : {"identify", "show", "call", "script", "models", "operations"}) {
        EXPECT_THAT(help.out, HasSubstr(verb));
        const SRun own = Vornhost({verb, "--help"});
        EXPECT_EQ(own.status, 0);
        EXPECT_THAT(own.out, AllOf(HasSubstr("--no-initialize"), HasSubstr("Example"))) << verb;
    }
}

TEST(CommandLine, ModelsAndOperationsAreJsonLines) {
    const SRun models = Vornhost({"--json", "models"});
    EXPECT_EQ(models.status, 0);
    bool encoder = false;
    for (const json& model : JsonLines(models.out))
        encoder = encoder || (model.at("number") == "GXE500" && model.at("family") == "Encoder" &&
                              model.at("videoInputs") == 4);
    EXPECT_TRUE(encoder) << models.out;

    const SRun operations = Vornhost({"operations", "--json"});
    EXPECT_EQ(operations.status, 0);
    const std::vector<json> told = JsonLines(operations.out);
    EXPECT_THAT(told, testing::Contains(json::parse(R"({"operation":"controller.moveFocusAt",
        "does":"Queues a move of the focus that goes on until told otherwise.",
        "arguments":[{"name":"speed","form":"number","takes":"direction and speed, -100 to 100; 0 stops"}],
        "outputs":[]})")));
    // An operation is worth as much as a person can learn of it.
    for (const json& operation : told) {
        EXPECT_THAT(operation.at("does").get<std::string>(), testing::EndsWith(".")) << operation;
        for (const json& argument : operation.at("arguments"))
            EXPECT_NE(argument.at("takes"), "") << operation;
    }
    EXPECT_THAT(Vornhost({"operations", "getPtzPanPos"}).out,
                AllOf(HasSubstr("getPtzPanPos <stream: number>"), HasSubstr("Where the axis Pan is"),
                      HasSubstr("a video input"), HasSubstr("answers")));
}

} // namespace
} // namespace corvane::vornhost_test
