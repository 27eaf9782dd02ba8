#pragma once

#include "refhost/http/http_client.h"
#include "site/diagnosis/diagnosis.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace corvane::site {

inline constexpr const char* MonitorPath = "/cgi-bin/get_io?mode=monitor";
inline constexpr const char* MonitorPhase = "monitor";

// Asks the camera; the time-out is in whole seconds.
using AskPath = std::function<refhost::SHttpReply(const std::string& path, int timeOut,
                                                  std::function<bool(const std::string& body)> isEnough)>;
// What its last reply to the path is, where it is not what was asked for.
using DiagnosePath = std::function<SDiagnosis(const std::string& path)>;

// What the request that stays open has told.
struct SMonitorLook {
    std::map<int, std::string> levels; // "High" or "Low" by the input, numbered from 0
    std::optional<SDiagnosis> problem; // why it tells nothing, or has broken off
};

// Listens to the alarm inputs until enough levels are there, `seconds` at most. Tells the camera nothing.
SMonitorLook LookAtMonitor(int seconds, const AskPath& ask, const DiagnosePath& diagnose,
                           const std::function<bool(const std::map<int, std::string>& levels)>& isEnough);

// What a monitor does wrong that tells levels: listened to for so long, or until it floods. Nothing of one
// that tells none. `comes` is called, on the calling thread, with the whole lines that have come since.
std::optional<SDiagnosis> FaultOfMonitor(int seconds, const AskPath& ask, const DiagnosePath& diagnose,
                                         const std::function<void(const std::string& told)>& comes = {});

// The camera tells another level of an input to who asks than its monitor does; `asked` is what it tells
// then.
SDiagnosis TwoLevels(const std::string& monitored, const std::string& asked);

} // namespace corvane::site
