#include "site/events/monitor_look.h"

#include "site/diagnosis/reply_checks.h"
#include "site/events/alarm_input_levels.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace corvane::site {
namespace {

// More than any camera tells in the time that it is listened to.
constexpr std::size_t Flood = 256U << 10;

// The whole lines of a reply that grows, each once: one that floods would be read over and over.
class CNewLines {
public:
    std::string take(const std::string& reply) {
        const std::size_t end = std::string_view(reply).substr(seen_).rfind('\n');
        const std::size_t linesEnd = end == std::string_view::npos ? taken_ : seen_ + end + 1;
        std::string lines = reply.substr(taken_, linesEnd - taken_);
        seen_ = reply.size();
        taken_ = linesEnd;
        return lines;
    }

private:
    std::size_t seen_ = 0;
    std::size_t taken_ = 0;
};

SDiagnosis OfMonitor(const char* cause, const std::string& problem, SDiagnosis known) {
    known.cause = cause;
    known.problem = problem;
    known.phase = MonitorPhase;
    return known;
}

// Why the monitor has not told every level.
SDiagnosis WithoutLevels(const refhost::SHttpReply& reply, const DiagnosePath& diagnose) {
    SDiagnosis known = diagnose(MonitorPath);
    known.phase = MonitorPhase;
    const bool staysOpen = reply.isTimedOut && reply.kind != refhost::HttpFailure::NoAnswer;
    if (staysOpen && reply.body.empty()) {
        known.advice = "restart the camera if it stays so, and see what stands between it and here";
        return OfMonitor("monitor-silent", "the request for alarm inputs stays open and tells nothing",
                         known);
    }
    const bool isOther = staysOpen || reply.status != 0; // a status, or a text that tells no level
    return isOther ? OfMonitor("monitor-refused", "the camera does not tell its alarm inputs", known) : known;
}

// How often the levels of any one input have changed in what the monitor has told.
int MostChanges(const std::string& told) {
    std::map<int, std::pair<std::string, int>> inputs;
    int most = 0;
    for (std::size_t begin = 0; begin < told.size();) {
        const std::size_t end = std::min(told.find('\n', begin), told.size() - 1) + 1;
        for (const auto& [input, level] : MonitoredLevels(told.substr(begin, end - begin))) {
            auto& [last, changes] = inputs[input];
            changes += last.empty() || last == level ? 0 : 1;
            last = level;
            most = std::max(most, changes);
        }
        begin = end;
    }
    return most;
}

} // namespace

SMonitorLook LookAtMonitor(int seconds, const AskPath& ask, const DiagnosePath& diagnose,
                           const std::function<bool(const std::map<int, std::string>& levels)>& isEnough) {
    SMonitorLook look;
    CNewLines lines;
    const auto reply = ask(MonitorPath, seconds, [&](const std::string& body) {
        for (const auto& [input, level] : MonitoredLevels(lines.take(body)))
            look.levels[input] = level;
        return body.size() > Flood || isEnough(look.levels);
    });
    const bool isBroken = reply.status == 0 && !reply.isTimedOut;
    if (look.levels.empty() || isBroken)
        look.problem = WithoutLevels(reply, diagnose);
    return look;
}

std::optional<SDiagnosis> FaultOfMonitor(int seconds, const AskPath& ask, const DiagnosePath& diagnose,
                                         const std::function<void(const std::string& told)>& comes) {
    constexpr int UnusualChanges = 6;
    CNewLines lines;
    const auto reply = ask(MonitorPath, seconds, [&](const std::string& body) {
        const std::string told = lines.take(body);
        if (comes && !told.empty())
            comes(told);
        return body.size() > Flood;
    });
    SDiagnosis known = diagnose(MonitorPath);
    known.phase = MonitorPhase;
    known.isCertain = true;
    const auto isWrong = [&known](const char* cause, const char* problem, const std::string& answered) {
        known.cause = cause;
        known.problem = problem;
        known.reply = answered;
        known.advice = "restart the camera; until then do not rely on its alarms";
        return known;
    };
    if (reply.body.size() > Flood)
        return isWrong("too-large", "the camera floods whoever listens to its alarm inputs",
                       std::to_string(reply.body.size()) + " bytes at once");
    if (MonitoredLevels(reply.body).empty())
        return std::nullopt; // it is looked at for longer
    if (!reply.isTimedOut)
        return isWrong("cut", "the request for alarm inputs does not stay open",
                       reply.failure.empty() ? "levels, and then the end of the reply" : reply.failure);
    if (MostChanges(reply.body) >= UnusualChanges)
        return isWrong("level-differs", "the camera tells both levels of an input in turn",
                       std::to_string(MostChanges(reply.body)) + " changes in " + std::to_string(seconds) +
                           " s");
    return std::nullopt;
}

SDiagnosis TwoLevels(const std::string& monitored, const std::string& asked) {
    SDiagnosis problem;
    problem.problem = "the camera tells two levels of this input";
    problem.request = std::string("GET ") + MonitorPath + " and " + LevelsRequest;
    problem.reply = monitored + " to the first, and " + asked + " to the second";
    problem.advice = "restart the camera; until then do not rely on its alarms";
    problem.cause = "level-differs";
    problem.phase = MonitorPhase;
    return problem;
}

} // namespace corvane::site
