#include "tests/vornhost/vornhost_support.h"
#include "tools/vornhost/ptz/ptz_pilot.h"

namespace corvane::vornhost_test {
namespace {

struct STimedPilot : vornhost::CPtzPilot {
    STimedPilot() : CPtzPilot(50) {}
    void type(int time, const std::string& bytes) {
        vornhost::CPtzKeyReader reader;
        for (const char byte : bytes)
            if (const auto key = reader.take(byte))
                press(*key, Time() + std::chrono::milliseconds(time));
    }
    std::string nextAt(int time, bool succeeded = true) {
        answered(succeeded);
        advance(Time() + std::chrono::milliseconds(time));
        const auto command = next();
        return command ? command->key + testing::PrintToString(command->call.arguments) : "";
    }
};

TEST(Ptz, AMovementLastsAsLongAsItsKeyRepeats) {
    STimedPilot pilot;
    pilot.type(0, "\x1b[A");
    EXPECT_EQ(pilot.nextAt(699), R"(up{ "0", "50", "0" })");
    EXPECT_EQ(pilot.nextAt(700), R"(release{ "0", "0", "0" })");
    pilot.type(1000, "\x1b[D\x1b[1;5D");
    EXPECT_EQ(pilot.nextAt(1299), R"(left{ "-50", "0", "0" })");
    EXPECT_EQ(pilot.nextAt(1300), R"(release{ "0", "0", "0" })");
}

TEST(Ptz, OfWhatWaitsTheStopsTheSavesAndTheNewestMovementGoOut) {
    STimedPilot pilot;
    pilot.type(0, "+");
    EXPECT_EQ(pilot.nextAt(0), R"(+{ "0", "0", "50" })");
    pilot.type(1, "\x1b[C p1p1-]\x1bOB");
    EXPECT_FALSE(pilot.next());
    for (const char* const next : {R"(space{ "0", "0", "0" })", R"(p1{ "1" })", R"(down{ "0", "-60", "0" })"})
        EXPECT_EQ(pilot.nextAt(2), next);
    pilot.type(3, "7q");
    EXPECT_EQ(pilot.nextAt(3), R"(7{ "0", "0", "0" })");
    EXPECT_EQ(pilot.nextAt(3, false), R"(leave{ "0", "0", "0" })"); // the stop before it failed
    EXPECT_TRUE(pilot.nextAt(4).empty() && pilot.isDone());
}

} // namespace
} // namespace corvane::vornhost_test
