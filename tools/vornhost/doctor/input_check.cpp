#include "tools/vornhost/doctor/input_check.h"

#include "site/diagnosis/reply_checks.h"
#include "site/events/alarm_input_levels.h"
#include "site/events/monitor_look.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace corvane::vornhost {
namespace {

// A monitor tells every level at its beginning and then again every few seconds.
constexpr int MonitorSeconds = 5;
constexpr int ListenSeconds = 3;
constexpr int LevelsSeconds = 4;
constexpr int Attempts = 3; // a level may change between the two requests

std::string LevelOf(const std::map<int, std::string>& levels, int input) {
    const auto found = levels.find(input);
    return found == levels.end() ? "" : found->second;
}

struct SLevels {
    std::map<int, std::string> monitored;
    std::map<int, std::string> asked;
    std::optional<SDiagnosis> failure; // of either request

    bool agree(int count) const {
        for (int input = 0; input < count; ++input)
            if (LevelOf(monitored, input) != LevelOf(asked, input))
                return false;
        return true;
    }
};

SLevels AskBothWays(int count, const AskPath& ask, const DiagnosePath& diagnose) {
    SLevels levels;
    SMonitorLook look = LookAtMonitor(MonitorSeconds, ask, diagnose, [count](const auto& told) {
        return static_cast<int>(told.size()) >= count;
    });
    levels.monitored = std::move(look.levels);
    levels.failure = std::move(look.problem);
    if (levels.failure)
        return levels;
    const auto other = ask(LevelsRequest, LevelsSeconds, {});
    levels.asked = ReadLevels(other.body);
    if (levels.asked.empty() || other.status != 200) {
        levels.failure = diagnose(LevelsRequest);
        levels.failure->phase = MonitorPhase;
        if (levels.failure->cause == "damaged")
            levels.failure->problem = "the camera's levels cannot be read";
    }
    return levels;
}

SFinding FindingOf(int input, const SLevels& levels) {
    if (levels.failure)
        return Faulty(*levels.failure);
    const std::string monitored = LevelOf(levels.monitored, input);
    const std::string asked = LevelOf(levels.asked, input);
    if (monitored == asked && !asked.empty())
        return Sound(asked);
    if (!monitored.empty() && !asked.empty())
        return Faulty(TwoLevels(monitored, asked));
    SDiagnosis problem;
    problem.request = std::string("GET ") + MonitorPath + " and " + LevelsRequest;
    problem.phase = MonitorPhase;
    problem.cause = "not-reported";
    problem.problem = "the camera does not tell this input's level";
    problem.reply = "no level of terminal " + std::to_string(input + 1) + " to the " +
                    (monitored.empty() ? "first" : "second");
    problem.advice = "see at the camera whether the terminal is an input";
    return Faulty(problem);
}

} // namespace

std::vector<SFinding> CheckInputs(int count, const AskPath& ask, const DiagnosePath& diagnose) {
    SLevels levels;
    levels.failure = FaultOfMonitor(ListenSeconds, ask, diagnose);
    if (!levels.failure)
        levels = AskBothWays(count, ask, diagnose);
    for (int attempt = 1; attempt < Attempts && !levels.failure && !levels.agree(count); ++attempt)
        levels = AskBothWays(count, ask, diagnose);
    std::vector<SFinding> findings;
    for (int input = 0; input < count; ++input) {
        findings.push_back(FindingOf(input, levels));
        findings.back().check = "input:" + std::to_string(input);
    }
    return findings;
}

} // namespace corvane::vornhost
