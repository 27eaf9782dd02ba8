#include "tools/vornhost/calls/script_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace corvane::vornhost {
namespace {

using Words = std::vector<std::string>;

TEST(ScriptLine, SplitsAsAPosixShellDoes) {
    const struct {
        const char* line;
        Words words;
    } cases[] = {
        {"", {}},
        {" \t ", {}},
        {"# a b", {}},
        {"  a\tb  c ", {"a", "b", "c"}},
        {"a ''", {"a", ""}},
        {"a \"\"x", {"a", "x"}},
        {"'a b'\\ c\"d e\"", {"a b cd e"}},
        {"'\\n \"$' \"'\"", {"\\n \"$", "'"}},
        {"\"\\\" \\\\ \\$ \\` \\n\"", {"\" \\ $ ` \\n"}},
        {"\\# a#b #c", {"#", "a#b"}},
        {"a\\ b", {"a b"}},
        {"f=1;r=2 $HOME *", {"f=1;r=2", "$HOME", "*"}},
    };
    for (const auto& test : cases) {
        const SScriptLine line = ReadScriptLine(test.line);
        EXPECT_EQ(line.words, test.words) << test.line;
        EXPECT_FALSE(line.background) << test.line;
    }
}

TEST(ScriptLine, AnUnquotedAmpersandAtTheEndMeansBackground) {
    const struct {
        const char* line;
        Words words;
        bool background;
    } cases[] = {
        {"a 1 &", {"a", "1"}, true},       {"a 1&", {"a", "1"}, true},
        {"a & # why", {"a"}, true},        {"a 'b&'", {"a", "b&"}, false},
        {"a \\&", {"a", "&"}, false},      {"a x=1&y=2", {"a", "x=1&y=2"}, false},
        {"a & b", {"a", "&", "b"}, false}, {"a &''", {"a", "&"}, false},
    };
    for (const auto& test : cases) {
        const SScriptLine line = ReadScriptLine(test.line);
        EXPECT_EQ(line.words, test.words) << test.line;
        EXPECT_EQ(line.background, test.background) << test.line;
    }
}

TEST(ScriptLine, RefusesWhatIsNotClosed) {
    for (const char* line : {"a 'b", "a \"b", "a \"b\\", "a b\\"})
        EXPECT_THROW(ReadScriptLine(line), CScriptLineError) << line;
}

} // namespace
} // namespace corvane::vornhost
