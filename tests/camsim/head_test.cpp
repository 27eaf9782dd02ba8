// How a simulated camera's head moves in time, and what it records and plays.

#include "model/camera_head.h"

#include <gtest/gtest.h>

namespace {

using namespace camsim;
using std::chrono::milliseconds;

class Head : public testing::Test {
protected:
    // Pan 0..359 from 180 at 120 a second, reached in half a second.
    std::shared_ptr<const SCameraModel> model = LoadEmbeddedModel("D850");
    CCameraHead head{*model};
    CCameraHead::Time start = CCameraHead::Time() + std::chrono::hours(1);

    CCameraHead::Time at(int ms) const { return start + milliseconds(ms); }
    double pan(int ms) { return head.place(at(ms)).at("pan"); }
};

TEST_F(Head, SpeedsUpCruisesAndBrakes) {
    head.drive("pan", 1000, at(0)); // the end is at 359: 179 further, 30 of it to speed up and 30 to brake
    EXPECT_NEAR(pan(500), 210, 0.01);
    EXPECT_NEAR(pan(1000), 270, 0.01);
    EXPECT_NEAR(pan(1742), 351.5, 0.1); // a quarter of a second before the end
    EXPECT_TRUE(head.isMoving(at(1900)));
    EXPECT_NEAR(pan(2000), 359, 0.01);
    EXPECT_FALSE(head.isMoving(at(2000)));
}

TEST_F(Head, TurnsRoundWithoutAJump) {
    head.drive("pan", 359, at(0));
    head.drive("pan", 280, at(1000)); // at 270 and full speed: it brakes beyond, at 300, and comes back
    EXPECT_NEAR(pan(1500), 300, 0.01);
    EXPECT_NEAR(pan(2200), 280, 0.01);
    EXPECT_FALSE(head.isMoving(at(2200)));
}

TEST_F(Head, StopsByItselfUnlessToldAgain) {
    head.run("pan", 0.1, at(0));
    head.run("pan", 0.1, at(2500));
    EXPECT_TRUE(head.isMoving(at(5400)));
    EXPECT_FALSE(head.isMoving(at(5600)));
    const auto fine = LoadEmbeddedModel("D870");
    CCameraHead untiring(*fine);
    untiring.run("pan", 0.1, at(0));
    EXPECT_TRUE(untiring.isMoving(at(8000)));
    untiring.run("pan", 0, at(8000));
    EXPECT_FALSE(untiring.isMoving(at(8100)));
}

TEST_F(Head, PlaysAPatrolOverAndOverFromWhereItBegan) {
    head.recordPatrol(1, at(0));
    head.drive("pan", 240, at(200)); // half way after half a second, there after a whole one
    head.stopPatrol(1, at(2000));
    head.playPatrol(1, at(10'000)); // back at 180 after a second, and then every three seconds
    for (const int round : {11'000, 14'000, 300'014'000}) {
        EXPECT_NEAR(pan(round), 180, 0.1) << round;
        EXPECT_NEAR(pan(round + 700), 210, 0.1) << round;
        EXPECT_NEAR(pan(round + 1500), 240, 0.01) << round;
    }
}

TEST_F(Head, RecordsNoMoreMovesThanAPatrolMayHave) {
    head.recordPatrol(2, at(0));
    for (size_t i = 0; i <= CCameraHead::MostMoves; ++i)
        head.run("pan", i % 2 == 0 ? 0.1 : 0.2, at(static_cast<int>(i)));
    head.stopPatrol(2, at(90'000));
    const SPatrol patrol = head.state(at(90'000)).patrols.at(2);
    EXPECT_EQ(patrol.moves.size(), CCameraHead::MostMoves);
    EXPECT_EQ(patrol.length, milliseconds(90'000));
}

TEST(Focus, MovesInTimeAndFindsWhereItIsSharp) {
    const auto model = LoadEmbeddedModel("F320"); // 0..255 from 128 at 64 a second, reached in half a second
    CCameraHead head(*model);
    const auto at = [](int ms) { return CCameraHead::Time() + std::chrono::hours(1) + milliseconds(ms); };
    const auto focus = [&](int ms) { return head.place(at(ms)).at("focus"); };
    head.drive("focus", 0, at(0));
    EXPECT_NEAR(focus(500), 112, 0.01);
    EXPECT_NEAR(focus(1250), 64, 0.01);
    head.focusByItself(at(1250)); // at full speed: it goes on to 48 while it brakes
    EXPECT_NEAR(focus(1750), 48, 0.01);
    EXPECT_TRUE(head.isMoving(at(3400)));
    EXPECT_NEAR(focus(3500), 128, 0.01);
    EXPECT_FALSE(head.isMoving(at(3500)));
}

} // namespace
