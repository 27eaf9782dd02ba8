#include "site/base/terminal_text.h"
#include "site/base/utc_time.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace corvane::vornhost {
namespace {

const std::string Replaced = "\xEF\xBF\xBD";

TEST(TerminalText, NothingThatSteersATerminalGetsThrough) {
    const struct {
        std::string text, printable;
    } cases[] = {
        {"Gate \xC3\xBC \xE6\x9D\xB1", "Gate \xC3\xBC \xE6\x9D\xB1"},
        {"\x1b[31m", Replaced + "[31m"},
        {std::string("a\0b\r\n\x7f", 6), "a" + Replaced + "b" + Replaced + Replaced + Replaced},
        {"\xC2\x9B"
         "1m",
         Replaced + "1m"}, // a control character of two bytes
        {"\xE2\x80\xAE"
         "x",
         Replaced + "x"},                                                // right-to-left override
        {"\xFF\xC3", Replaced + Replaced},                               // no UTF-8, and cut off
        {"\xC0\xAF", Replaced + Replaced},                               // an overlong form
        {"\xE0\x80\xAF", Replaced + Replaced + Replaced},                // likewise, of three bytes
        {"\xED\xA0\x80", Replaced + Replaced + Replaced},                // a surrogate
        {"\xF4\x90\x80\x80", Replaced + Replaced + Replaced + Replaced}, // beyond the last code
    };
    for (const auto& test : cases)
        EXPECT_EQ(PrintableText(test.text), test.printable);
}

TEST(TerminalText, IsCutWhereNobodyReadsOnAndSaysSo) {
    EXPECT_EQ(PrintableText(std::string(4'000, 'x')), std::string(4'000, 'x'));
    EXPECT_EQ(PrintableText(std::string(1'000'000, 'x')),
              std::string(4'000, 'x') + "... and 996000 bytes more");
    const std::string cut = PrintableText(std::string(3'999, 'x') + "\xC3\xBC" + "y"); // at a whole character
    EXPECT_EQ(cut, std::string(3'999, 'x') + "\xC3\xBC... and 1 bytes more");
}

TEST(TerminalText, WidthCountsColumns) {
    EXPECT_EQ(DisplayWidth("abc"), 3U);
    EXPECT_EQ(DisplayWidth("\xC3\xBC"), 1U);
    EXPECT_EQ(DisplayWidth("\xE6\x9D\xB1\xE4\xBA\xAC"), 4U); // two wide characters
    EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1U);                // a combining accent
    EXPECT_EQ(PadTo("\xE6\x9D\xB1", 4), "\xE6\x9D\xB1  ");
}

TEST(TerminalText, WrapsAtBlanksAndCutsWhatHasNone) {
    EXPECT_THAT(Wrap("", 5), testing::ElementsAre(""));
    EXPECT_THAT(Wrap("ab cd ef", 5), testing::ElementsAre("ab cd", "ef"));
    EXPECT_THAT(Wrap("abcdefgh", 5), testing::ElementsAre("abcde", "fgh"));
    EXPECT_THAT(Wrap("ab abcdefgh", 5), testing::ElementsAre("ab", "abcde", "fgh"));
    EXPECT_THAT(Wrap("abcde f", 5), testing::ElementsAre("abcde", "f"));
    EXPECT_THAT(Wrap("\xE6\x9D\xB1\xE6\x9D\xB1", 1),
                testing::ElementsAre("\xE6\x9D\xB1", "\xE6\x9D\xB1")); // wider than the column
}

TEST(Table, FitsThePageWhateverItHolds) {
    CTable table({"A", "B", "C"}, 2);
    table.addRow({std::string(300, 'x'), "\xE6\x9D\xB1", std::string(90, 'y')});
    table.addRow({"short", "\x1b", "a b"});
    std::istringstream lines(table.headingLines(false) + table.rowLines());
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(DisplayWidth(line), PageWidth()) << line;
        EXPECT_EQ(line.find('\x1b'), std::string::npos);
    }
}

TEST(Table, ColumnsAreAligned) {
    CTable table({"NAME", "N"});
    table.addRow({"\xE6\x9D\xB1\xE4\xBA\xAC", "1"});
    table.addRow({"abcdef", "2"});
    EXPECT_EQ(table.headingLines(false), "NAME    N\n");
    EXPECT_EQ(table.rowLines(), "\xE6\x9D\xB1\xE4\xBA\xAC    1\nabcdef  2\n");
}

TEST(UtcTime, IsTheSameWhereverTheMachineStands) {
    setenv("TZ", "JST-9", 1); // each test has a process of its own
    const auto at = [](long long milliseconds) {
        return UtcTimeText(std::chrono::system_clock::time_point(std::chrono::milliseconds(milliseconds)));
    };
    EXPECT_EQ(at(1'700'000'000'050), "2023-11-14T22:13:20.050Z");
    EXPECT_EQ(at(-1), "1969-12-31T23:59:59.999Z"); // of a clock that was never set
}

} // namespace
} // namespace corvane::vornhost
