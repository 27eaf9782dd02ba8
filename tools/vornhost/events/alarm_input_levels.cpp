#include "tools/vornhost/events/alarm_input_levels.h"

#include "tools/vornhost/calls/call.h"

#include <charconv>
#include <sstream>

namespace corvane::vornhost {
namespace {

constexpr const char* LevelsRequest = "/cgi-bin/get_io?command=all";
constexpr const char* LineBeginning = "terminal "; // "terminal 1: High"
constexpr const char* BeforeLevel = ": ";

std::map<int, std::string> ReadLevels(const std::string& reply) {
    std::map<int, std::string> levels;
    std::istringstream lines(reply);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const std::size_t level = line.find(BeforeLevel);
        const std::size_t number = std::char_traits<char>::length(LineBeginning);
        int terminal = 0;
        if (line.rfind(LineBeginning, 0) == 0 && level != std::string::npos &&
            std::from_chars(line.data() + number, line.data() + level, terminal).ec == std::errc() &&
            terminal >= 1)
            levels[terminal - 1] = line.substr(level + std::char_traits<char>::length(BeforeLevel));
    }
    return levels;
}

} // namespace

std::variant<std::map<int, std::string>, SDiagnosis> AskAlarmInputLevels(CDeviceSession& session,
                                                                         std::chrono::seconds timeOut) {
    const SCall call{"setting.CameraHttpGet", {LevelsRequest, std::to_string(timeOut.count())}};
    try {
        const STimedAnswer timed = MakeCall(session.operations(), call);
        if (timed.succeeded() && !timed.answer.values.empty())
            return ReadLevels(timed.answer.values.front());
        return Diagnose(Occasion::Call, *timed.answer.error, session.exchanges());
    } catch (const COperationError& error) { // the camera is not initialised
        return SDiagnosis{error.what()};
    }
}

} // namespace corvane::vornhost
