#include "refhost/base/process_limits.h"

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/resource.h>

#include <thread>

namespace corvane {
namespace {

TEST(ProcessLimits, TheSoftLimitOfOpenFilesIsTheHardOne) {
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit few{usual.rlim_max - 1, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    refhost::PrepareForManyCameras();
    rlimit raised{};
    getrlimit(RLIMIT_NOFILE, &raised);
    setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(raised.rlim_cur, usual.rlim_max);
}

TEST(ProcessLimits, ManyThreadsCanWaitApart) {
    refhost::PrepareForManyCameras();
    std::thread([] {}).join(); // the first other thread, which else gets the process a small table
    constexpr int FutexHash = 78;
    constexpr unsigned long GetSlots = 2;
    const int slots = prctl(FutexHash, GetSlots, 0UL, 0UL, 0UL);
    if (slots < 0)
        GTEST_SKIP() << "a kernel with one table for all";
    EXPECT_EQ(slots, 4096);
}

} // namespace
} // namespace corvane
