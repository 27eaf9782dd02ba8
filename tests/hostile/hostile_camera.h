#pragma once

#include "tests/support/camsim_process.h"
#include "tests/support/scripted_rtsp.h"
#include "tests/support/scripted_server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corvane::hostile_test {

using tests::SScriptedReply;
using tests::SSentRequest;

inline const std::string Filler =
    "X-Filler: " + std::string(1'000, 'x') + "\r\n"; // a header of a reply that does not end

// What a hostile camera does to one run of a program, and how that has to end.
struct SAttack {
    const char* name;
    // What follows `vornhost`; "ADDRESS" stands for the camera, "RTSP" for the port of its streams, "FILE"
    // for a file that can be written.
    std::vector<std::string> arguments;
    // The beginning of "METHOD TARGET" of the requests that are answered so; all others are those of an
    // ordinary camera. CSEQ in its bytes stands for the number of the request.
    std::string attacked;
    SScriptedReply reply;
    int mostRequests;           // of the attacked ones, on all connections
    int status;                 // the program's exit status
    std::string told;           // on either output
    bool isInterrupted = false; // by Ctrl-C, once the attack is under way; it ends at once then
    const char* input = "";
    int leastPieces = 0; // of those without an end, behind which it is under way
};

// The rows' limits, where an attack has no stricter ones of its own: what a run may take.
constexpr std::chrono::seconds LongestRun{25};
constexpr std::chrono::seconds LongestEnding{4}; // behind an interruption: one second, on a busy machine
constexpr long long MostMemory = 150'000'000;

// Carries the attack out, and holds the run to what it says and to the limits above. Nothing must reach
// anybody else, and the password must get out nowhere.
void ExpectHarmless(const SAttack& attack);

// The bytes, and behind them those others again and again.
inline SScriptedReply Endless(const std::string& bytes, const std::string& others,
                              std::chrono::milliseconds pause = std::chrono::milliseconds::zero()) {
    return {bytes, SScriptedReply::Stall, pause, [others] { return others; }};
}

inline std::string NameOf(const testing::TestParamInfo<SAttack>& info) {
    return info.param.name;
}
inline void PrintTo(const SAttack& attack, std::ostream* out) {
    *out << attack.name;
}

} // namespace corvane::hostile_test
