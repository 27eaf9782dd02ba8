#include "site/work_pool.h"

#include "tests/support/sleeping_threads.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>

namespace corvane::site {
namespace {

using namespace std::chrono_literals;
using test_support::DoOtherThreadsSleep;
using test_support::WaitUntil;

TEST(WorkPool, RunsEachTaskNotBeforeItsTimeAndNoneWaitsForALaterOne) {
    std::atomic<bool> isEarly{false};
    std::atomic<int> ran{0};
    CWorkPool pool(1);
    const auto add = [&](std::chrono::milliseconds after, const CWorkPool::Task& task) {
        const auto due = std::chrono::steady_clock::now() + after;
        const auto run = [&isEarly, &ran, due, task] {
            isEarly = isEarly || std::chrono::steady_clock::now() < due;
            task();
            ++ran;
        };
        pool.add(run, after);
    };
    add(1h, [] {});
    EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep)); // the one thread waits for it
    add(50ms, [&] { add(0ms, [] {}); });
    add(0ms, [&] { add(20ms, [] {}); });
    EXPECT_TRUE(WaitUntil([&] { return ran == 4; }));
    pool.end();
    EXPECT_FALSE(isEarly);
    EXPECT_EQ(ran, 4);
}

TEST(WorkPool, HasAsManyThreadsAsTasksNeedAndNoMoreThanItMay) {
    constexpr int Most = 3;
    constexpr int Count = 12;
    std::atomic<int> begun{0};
    std::atomic<bool> isLetGo{false};
    CWorkPool pool(Most);
    pool.add([&] { ++begun; });
    EXPECT_TRUE(WaitUntil([&] { return begun == 1 && DoOtherThreadsSleep(); })); // one thread is there, idle
    begun = 0;
    for (int added = 1; added <= Count; ++added) {
        pool.add([&] {
            ++begun;
            EXPECT_TRUE(WaitUntil([&] { return isLetGo.load(); }));
        });
        EXPECT_TRUE(WaitUntil([&] { return begun >= std::min(added, Most); })) << added;
    }
    EXPECT_TRUE(WaitUntil(DoOtherThreadsSleep));
    EXPECT_EQ(begun, Most);
    isLetGo = true;
    EXPECT_TRUE(WaitUntil([&] { return begun == Count; }));
}

TEST(WorkPool, EndsWithWhatHasBegunAndLeavesTheRestOut) {
    CWorkPool pool(1);
    std::atomic<int> others{0};
    std::atomic<bool> hasBegun{false};
    std::atomic<bool> hasEnded{false};
    const auto isLeftOut = [&] { // as what is added is when the pool has been ended
        const auto held = std::make_shared<int>();
        pool.add([&others, held] { ++others; });
        return held.use_count() == 1;
    };
    pool.add([&] {
        hasBegun = true;
        EXPECT_TRUE(WaitUntil(isLeftOut)); // the others wait behind this one
        hasEnded = true;
    });
    EXPECT_TRUE(WaitUntil([&] { return hasBegun.load(); }));
    pool.add([&] { ++others; }, 1h);
    pool.end();
    EXPECT_TRUE(hasEnded);
    EXPECT_EQ(others, 0);
    EXPECT_TRUE(isLeftOut());
}

} // namespace
} // namespace corvane::site
