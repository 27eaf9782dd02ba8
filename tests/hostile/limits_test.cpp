// What becomes of a program that its machine gives too little.

#include "tests/support/camsim_process.h"
#include "tests/support/temporary_folder.h"
#include "tools/vornhost/console/exhaustion.h"

#include <glib.h>
#include <gmock/gmock.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace corvane::hostile_test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

// What a shell's command writes.
std::string Said(const std::string& command) {
    FILE* const pipe = popen(("exec 2>&1; " + command).c_str(), "r");
    std::string text;
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof part, pipe))
        text.append(part, size);
    pclose(pipe);
    return text;
}

#if !defined(VORN_UNDER_ASAN) && !defined(VORN_UNDER_TSAN) // which take an address space of their own
TEST(Limits, TooLittleMemoryIsToldAndHangsNobody) {
    const test_support::CCamsim camsim({"--rtsp-port", "0"});
    const test_support::CTemporaryFolder folder;
    const std::string vornhost =
        "timeout -k 1 20 \"$VORN_BIN\"/vornhost --rtsp-port " + camsim.rtspPort() + " --model F320 ";
    for (const std::string& verb :
         {"record " + camsim.address() + " --stream 0,h264,0 --seconds 0.2 --output " +
              folder.file("file.mkv"),
          "events " + camsim.address() + " --input 0 --seconds 0.2"})
        for (const char* kilobytes : {"45000", "100000", "130000", "180000", "230000", "280000"}) {
            const std::string said =
                Said(std::string("ulimit -v ") + kilobytes + "; " + vornhost + verb + "; echo \"exit $?\"");
            EXPECT_THAT(
                said, AnyOf(HasSubstr("exit 0"), testing::AllOf(HasSubstr("exit 3"), HasSubstr("ulimit -a"))))
                << kilobytes << verb;
        }
}

TEST(Limits, LibrariesThatGiveUpForWantOfMemoryAreToldAndOtherCrashesStayCrashes) {
    const auto takeAllMemory = [] {
        const rlimit nothing{0, 0};
        setrlimit(RLIMIT_AS, &nothing);
    };
    const auto tell = [] { vornhost::TellExhaustion("no memory\n", "{}\n"); };
    EXPECT_EXIT((tell(), takeAllMemory(), std::abort()), testing::ExitedWithCode(3), "no memory");
    EXPECT_EXIT((tell(), takeAllMemory(), void(g_malloc(G_MAXSSIZE))), testing::ExitedWithCode(3),
                "no memory");
    EXPECT_EXIT((tell(), void(g_malloc(G_MAXSSIZE))), testing::ExitedWithCode(3), "no memory");
    EXPECT_EXIT((tell(), std::abort()), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT((tell(), g_log("other", G_LOG_LEVEL_ERROR, "wrong")), testing::KilledBySignal(SIGTRAP),
                "wrong");
}
#endif

} // namespace
} // namespace corvane::hostile_test
