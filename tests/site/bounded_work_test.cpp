#include "site/bounded_work.h"

#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

namespace corvane::site {
namespace {

using namespace std::chrono_literals;
using test_support::WaitUntil;
using Places = std::vector<std::size_t>;

Places From0To(std::size_t count) {
    Places places(count);
    std::iota(places.begin(), places.end(), 0U);
    return places;
}

struct SHanging {
    std::size_t count;
    SWorkBounds bounds;
    std::size_t most;
};

const SHanging Hanging[] = {
    {10, {1, 1ms, 10}, 10}, // the slowest, one after the other; then all have had their time
    {30, {1, 1h, 5}, 1},    {30, {3, 1h, 5}, 3}, {30, {2, 1ms, 3}, 6},
    {30, {4, 1ms, 1}, 4},   {7, {9, 1h, 1}, 7},  {0, {2, 1ms, 2}, 0},
};

TEST(BoundedWork, HangsWithNoMoreSideBySideThanMayAndDoesEachPlaceOnce) {
    const std::atomic<bool> isEnded{false};
    std::atomic<bool> isLetGo{false};
    std::mutex mutex; // guards what follows
    std::vector<Places> begun(std::size(Hanging));
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::size(Hanging); ++i)
        threads.emplace_back([&, i] {
            ForEachPlace(Hanging[i].count, Hanging[i].bounds, isEnded, [&](std::size_t place) {
                {
                    const std::lock_guard<std::mutex> lock(mutex);
                    begun[i].push_back(place);
                }
                EXPECT_TRUE(WaitUntil([&] { return isLetGo.load(); }));
            });
        });
    for (std::size_t i = 0; i < std::size(Hanging); ++i) {
        EXPECT_TRUE(WaitUntil([&] {
            const std::lock_guard<std::mutex> lock(mutex);
            return begun[i].size() >= Hanging[i].most;
        }));
        const std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(begun[i].size(), Hanging[i].most) << i;
    }
    isLetGo = true;
    for (std::size_t i = 0; i < std::size(Hanging); ++i) {
        threads[i].join();
        std::sort(begun[i].begin(), begun[i].end());
        EXPECT_EQ(begun[i], From0To(Hanging[i].count)) << i;
    }
}

TEST(BoundedWork, WhatHangsHoldsNothingElseUp) {
    constexpr std::size_t HangingCount = 3;
    constexpr std::size_t Count = 40;
    std::atomic<std::size_t> done{0};
    const std::atomic<bool> isEnded{false};
    ForEachPlace(Count, {2, 1ms, 2}, isEnded, [&](std::size_t place) {
        if (place >= HangingCount)
            ++done;
        else
            EXPECT_TRUE(WaitUntil([&] { return done == Count - HangingCount; })) << place;
    });
}

TEST(BoundedWork, BeginsInOrderAndNothingMoreOnceEnded) {
    Places begun; // by one after the other
    std::atomic<bool> isEnded{false};
    const auto endAt30 = [&](std::size_t place) {
        begun.push_back(place);
        isEnded = place == 29;
    };
    ForEachPlace(50, {1, 1h, 4}, isEnded, endAt30);
    EXPECT_EQ(begun, From0To(30));
    ForEachPlace(50, {1, 1h, 4}, isEnded, endAt30);
    EXPECT_EQ(begun, From0To(30));
}

} // namespace
} // namespace corvane::site
