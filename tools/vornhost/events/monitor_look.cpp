#include "tools/vornhost/events/monitor_look.h"

#include "tools/vornhost/events/alarm_input_levels.h"

#include <utility>

namespace corvane::vornhost {
namespace {

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

} // namespace

SMonitorLook LookAtMonitor(int seconds, const AskPath& ask, const DiagnosePath& diagnose,
                           const std::function<bool(const std::map<int, std::string>& levels)>& isEnough) {
    const auto reply = ask(MonitorPath, seconds,
                           [&isEnough](const std::string& body) { return isEnough(MonitoredLevels(body)); });
    SMonitorLook look;
    look.levels = MonitoredLevels(reply.body);
    const bool isBroken = reply.status == 0 && !reply.isTimedOut;
    if (look.levels.empty() || isBroken)
        look.problem = WithoutLevels(reply, diagnose);
    return look;
}

} // namespace corvane::vornhost
