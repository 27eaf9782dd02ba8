#include "site/site_plan.h"

#include "tests/site/file_error.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

namespace corvane::site {
namespace {

using test_support::CTemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SitePlan, IsReadAsItWasWritten) {
    const CTemporaryFolder folder;
    const std::string file = folder.file("plan.json");
    const SPlannedChange rate{"stream 0,h264,0", "frameRate", "15", "30"};
    const SPlannedChange untold{"stream 1,mjpeg,1", "quality", "3", ""};
    const SPlannedChange text{"adjustments", "title", "\"a\\b\"\n\xC3\xA4", "old\x01"};
    WritePlan(file, {{"gate", "127.0.0.1:8080", "D85000001", {rate, untold}},
                     {"hall", "camera.example", "", {text}},
                     {"yard", "127.0.0.2", "", {}}});
    const SitePlan plan = ReadPlan(file);
    ASSERT_EQ(plan.size(), 3U);
    EXPECT_EQ(plan[0].name + " " + plan[0].address + " " + plan[0].serialNumber,
              "gate 127.0.0.1:8080 D85000001");
    EXPECT_EQ(plan[1].name + " " + plan[1].address, "hall camera.example");
    EXPECT_THAT(plan[0].changes, ElementsAre(rate, untold));
    EXPECT_THAT(plan[1].changes, ElementsAre(text));
    EXPECT_THAT(plan[2].changes, IsEmpty());
    for (const auto member :
         {&SPlannedChange::of, &SPlannedChange::field, &SPlannedChange::wanted, &SPlannedChange::camera}) {
        SPlannedChange other = rate;
        other.*member = "other";
        EXPECT_FALSE(plan[0].changes[0] == other);
    }

    WritePlan(file, {{"gate", "g", "", {{"adjustments", "gamma", "8", "\xFF"}}}}); // no UTF-8
    EXPECT_EQ(ReadPlan(file).at(0).changes.at(0).camera, "\xEF\xBF\xBD");
    WritePlan(file, {});
    EXPECT_THAT(ReadPlan(file), IsEmpty());
}

TEST(SitePlan, EachMistakeIsToldWithItsPlaceAndReason) {
    const std::string whole = R"({"plan": [
  {"name": "gate", "address": "a", "changes": []},
  {"name": "hall", "address": "b", "changes": [
    {"of": "adjustments", "field": "gamma", "wanted": "8"},
    {"of": "adjustments", "field": "brightness", "wanted": "50", "camera": "60"}]}]})";
    const struct {
        const char *part, *wrong, *said;
    } mistakes[] = {
        {"\"plan\"", "\"plans\"", "plans: unknown member; expected one of plan; did you mean plan?"},
        {"{\"plan\": [", "{\"made\": 1, \"plan\": [", "made: unknown member; expected one of plan"},
        {"\"gate\"", "\"gate\",,",
         "line 2, column 19: syntax error while parsing object key - unexpected ','; expected string "
         "literal"},
        {"\"name\": \"hall\"", "\"nam\": \"hall\"",
         "plan[1].nam: unknown member; expected one of name, address, serialNumber, changes; did you mean "
         "name?"},
        {", \"changes\": []", "", "plan[0]: missing member \"changes\""},
        {"\"b\",", "\"b\", \"model\": \"c\",",
         "plan[1].model: unknown member; expected one of name, address, serialNumber, changes"},
        {", \"wanted\": \"8\"", "", "plan[1].changes[0]: missing member \"wanted\""},
        {"\"8\"", "8", "plan[1].changes[0].wanted: expected a text"},
        {"\"camera\"", "\"cameras\"",
         "plan[1].changes[1].cameras: unknown member; expected one of of, field, wanted, camera; did you "
         "mean camera?"},
        {"\"hall\"", "\"gate\"", "plan[1]: the camera stands twice"},
    };
    for (const auto& mistake : mistakes) {
        std::string text = whole;
        const std::size_t place = text.find(mistake.part);
        ASSERT_NE(place, std::string::npos) << mistake.part;
        text.replace(place, std::string(mistake.part).size(), mistake.wrong);
        const CTemporaryFolder folder;
        const std::string file = folder.file("plan.json", text);
        EXPECT_EQ(FileErrorOf([&] { (void)ReadPlan(file); }), file + ": " + mistake.said);
    }
}

} // namespace
} // namespace corvane::site
