#include "refhost/text/json_node.h"

#include <gtest/gtest.h>

namespace corvane::refhost {
namespace {

TEST(JsonPositions, AreWhereEachNameAndEntryBegins) {
    const std::string text = R"({
  "a": 1, "b\\\"c" : [true, -2.5e3 , "x\"y",null,
    {"d": {}}, [ ]],
  "e": ""
})";
    JsonPositions positions;
    (void)ParseJson(text, &positions);
    const auto at = [&](const std::string& place) {
        const auto found = positions.find(place);
        return found == positions.end() ? "nowhere" : LineAndColumn(text, found->second);
    };
    EXPECT_EQ(positions.size(), 10U);
    EXPECT_EQ(at("a"), "line 2, column 3");
    const std::string list = MemberPlace("", "b\\\"c");
    EXPECT_EQ(at(list), "line 2, column 11");
    EXPECT_EQ(at(list + "[0]"), "line 2, column 23");
    EXPECT_EQ(at(list + "[1]"), "line 2, column 29");
    EXPECT_EQ(at(list + "[2]"), "line 2, column 38");
    EXPECT_EQ(at(list + "[3]"), "line 2, column 45");
    EXPECT_EQ(at(list + "[4]"), "line 3, column 5");
    EXPECT_EQ(at(list + "[4].d"), "line 3, column 6");
    EXPECT_EQ(at(list + "[5]"), "line 3, column 16");
    EXPECT_EQ(at("e"), "line 4, column 3");
}

} // namespace
} // namespace corvane::refhost
