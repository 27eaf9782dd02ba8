#include "site/events/alarm_input_levels.h"

#include "site/calls/call.h"
#include "site/diagnosis/reply_checks.h"
#include "site/events/monitor_look.h"

#include <charconv>
#include <sstream>

namespace corvane::site {
namespace {

// To the letter, as the plug-in reads it.
bool IsLevel(const std::string& text) {
    return text == "High" || text == "Low";
}

// Lines such as "terminal 1: High": what stands before the terminal's number and before its level. Other
// lines are left out.
std::map<int, std::string> LevelsIn(const std::string& text, const std::string& beginning,
                                    const std::string& beforeLevel) {
    std::map<int, std::string> levels;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const std::size_t level = line.find(beforeLevel);
        int terminal = 0;
        if (line.rfind(beginning, 0) == 0 && level != std::string::npos &&
            std::from_chars(line.data() + beginning.size(), line.data() + level, terminal).ec ==
                std::errc() &&
            terminal >= 1 && IsLevel(line.substr(level + beforeLevel.size())))
            levels[terminal - 1] = line.substr(level + beforeLevel.size());
    }
    return levels;
}

} // namespace

std::map<int, std::string> ReadLevels(const std::string& reply) {
    return LevelsIn(reply, "terminal ", ": ");
}

std::map<int, std::string> MonitoredLevels(const std::string& told) {
    const std::size_t end = told.rfind('\n'); // the last line may still be coming
    return LevelsIn(end == std::string::npos ? "" : told.substr(0, end), "terminal", " I ");
}

std::variant<std::map<int, std::string>, SDiagnosis> AskAlarmInputLevels(CDeviceSession& session,
                                                                         std::chrono::seconds timeOut) {
    const SCall call{"setting.CameraHttpGet", {LevelsRequest, std::to_string(timeOut.count())}};
    try {
        const STimedAnswer timed = MakeCall(session.operations(), call);
        if (timed.succeeded() && !timed.answer.values.empty())
            return ReadLevels(timed.answer.values.front());
        return Diagnose(Occasion::Call, *timed.answer.error, session.exchanges());
    } catch (const COperationError& error) { // the camera is not initialised
        SDiagnosis diagnosis;
        diagnosis.problem = error.what();
        diagnosis.cause = "not-reported";
        diagnosis.phase = MonitorPhase;
        return diagnosis;
    }
}

} // namespace corvane::site
