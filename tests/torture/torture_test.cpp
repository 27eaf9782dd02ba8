// Each allocation, each start of a thread and each descriptor fails once, in turn, while a host lives with a
// camera. What then comes is an error or a success, and the next life is as if nothing had been.

#include "host/cgi.h"
#include "tests/support/camsim_process.h"
#include "tests/support/wait_until.h"
#include "tests/torture/camera_life.h"
#include "tests/torture/failing_calls.h"

#include <gmock/gmock.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

namespace corvane::torture {
namespace {

using test_support::WaitUntil;

constexpr unsigned LongestRun = 120; // seconds, of two lives

struct SUse {
    std::ptrdiff_t threads = 0;
    std::ptrdiff_t descriptors = 0;
};

std::ptrdiff_t CountEntries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

SUse UseOfThisProcess() {
    return {CountEntries("/proc/self/task"), CountEntries("/proc/self/fd")};
}

// What this process has open, for who looks for a leak.
std::string OpenDescriptors() {
    std::string text;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the one that the folder is read with
        text += entry.path().filename().string() + ' ' +
                std::filesystem::read_symlink(entry.path(), gone).string() + '\n';
    }
    return text;
}

std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return text;
}

constexpr const char* SlowRequest = "/cgi-bin/getinfo?FILE=9 delay ms=100";

// The framework keeps two connections to a device, when it has needed as many: from now on it has, whatever
// came before.
void NeedTwoConnections(const std::string& address) {
    const auto ask = [&address] {
        device_handler::v1_0::SVornUrl url;
        url.protocol = "http";
        url.path = "/cgi-bin/getinfo";
        url.parameters = {{"FILE", "9"}};
        std::string reply;
        if (const auto failure = vorn_utility::v1_0::CVornCgiLib::vornCgiGetRawResponse(
                url, address, "admin", "12345", reply, 10, "ANY"))
            _exit(2);
    };
    std::thread other(ask);
    ask();
    other.join();
}

// How a process of its own ended that `act` was done in, and what that told.
struct SOutcome {
    int status = 0; // minus the signal that ended it
    std::string told;
};

SOutcome InProcessOfItsOwn(const std::function<void(int tell)>& act) {
    int ends[2];
    if (pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        alarm(LongestRun);
        act(ends[1]);
        _exit(0);
    }
    close(ends[1]);
    SOutcome outcome;
    char part[4096];
    for (ssize_t size = 0; (size = read(ends[0], part, sizeof part)) > 0;)
        outcome.told.append(part, static_cast<std::size_t>(size));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    outcome.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return outcome;
}

void Tell(int pipe, const std::string& text) {
    if (write(pipe, text.data(), text.size()) < 0)
        _exit(2);
}

std::size_t FromEnvironment(const char* name, std::size_t otherwise) {
    const char* const text = std::getenv(name);
    return text ? std::strtoul(text, nullptr, 10) : otherwise;
}

// Which calls are counted.
struct SCounted {
    const char* name;
    Resource resource;
    std::size_t samples; // how many of them fail when nobody asks for another step
};

class Torture : public testing::TestWithParam<SCounted> {
protected:
    // The first life of a process, in which the call of that number fails; none with 0.
    SLife live(std::size_t call, int tell) const {
        return LiveWithCamera(camsim_.address(), [&] { FailCall(GetParam().resource, call, tell); });
    }

    // How many calls there are when none fails, and what two lives leave behind.
    std::pair<std::size_t, SUse> undisturbed() const {
        const SOutcome outcome = InProcessOfItsOwn([this](int tell) {
            const SLife life = live(0, tell);
            const std::size_t calls = CountedCalls();
            const SLife second = LiveWithCamera(camsim_.address());
            NeedTwoConnections(camsim_.address());
            const SUse use = UseOfThisProcess();
            Tell(tell, std::to_string(calls) + ' ' + std::to_string(use.threads) + ' ' +
                           std::to_string(use.descriptors) + '\n' + Lines(life.failures) +
                           Lines(life.broken) + Lines(second.failures) + Lines(second.broken));
        });
        EXPECT_EQ(outcome.status, 0);
        std::pair<std::size_t, SUse> result;
        std::istringstream told(outcome.told);
        told >> result.first >> result.second.threads >> result.second.descriptors >> std::ws;
        EXPECT_TRUE(told.eof()) << outcome.told;
        return result;
    }

    // A life in which the call fails, and one after it; tells what was wrong, if anything.
    SOutcome disturbed(std::size_t call, const SUse& most) const {
        return InProcessOfItsOwn([&](int tell) {
            const SLife life = live(call, tell);
            CountedCalls();
            Tell(tell, Lines(life.failures));
            const SLife next = LiveWithCamera(camsim_.address());
            NeedTwoConnections(camsim_.address());
            const bool isClean = WaitUntil([&] {
                const SUse use = UseOfThisProcess();
                return use.threads <= most.threads && use.descriptors <= most.descriptors;
            });
            Tell(tell, (isClean ? "" : "left behind, of which one is the folder's:\n" + OpenDescriptors()) +
                           "broken promises:\n" + Lines(life.broken) + "the next life:\n" +
                           Lines(next.failures) + Lines(next.broken));
            _exit(isClean && life.broken.empty() && next.failures.empty() && next.broken.empty() ? 0 : 1);
        });
    }

    test_support::CCamsim camsim_{{"--model", "D850", "--no-rtsp", "--fault", SlowRequest}};
};

TEST_P(Torture, WhatFailsOnceIsToldOrMadeGood) {
    const auto [calls, use] = undisturbed();
    ASSERT_GT(calls, 0U);
    const std::size_t step =
        FromEnvironment("VORN_TORTURE_STEP", std::max<std::size_t>(1, calls / GetParam().samples));
    for (std::size_t call = FromEnvironment("VORN_TORTURE_FIRST", 1); call <= calls; call += step) {
        const SOutcome outcome = disturbed(call, use);
        EXPECT_EQ(outcome.status, 0) << "call " << call << " of " << calls << ":\n" << outcome.told;
    }
}

std::string NameOf(const testing::TestParamInfo<SCounted>& info) {
    return info.param.name;
}
void PrintTo(const SCounted& counted, std::ostream* out) {
    *out << counted.name;
}

INSTANTIATE_TEST_SUITE_P(Each, Torture,
                         testing::Values(SCounted{"Memory", Resource::Memory, 20},
                                         SCounted{"Thread", Resource::Thread, 4},
                                         SCounted{"Descriptor", Resource::Descriptor, 4}),
                         NameOf);

} // namespace
} // namespace corvane::torture
