#pragma once

#include "site/diagnosis/diagnosis.h"
#include "site/session/device_session.h"

#include <chrono>
#include <map>
#include <string>
#include <variant>

namespace corvane::site {

// What the reply to the request for the levels of all inputs tells: by the input, numbered from 0.
std::map<int, std::string> ReadLevels(const std::string& reply);
// Likewise of what the request that stays open has told so far; the latest of each.
std::map<int, std::string> MonitoredLevels(const std::string& told);

// The levels of a camera's alarm inputs, numbered from 0, in its own words ("High", "Low"), or why it does
// not tell them. Asked for by a request of its own, which changes nothing there: the camera object's
// getDryContactInputState may switch the input's alarm on. Takes `timeOut`, whole seconds, at most; callable
// from any thread.
std::variant<std::map<int, std::string>, SDiagnosis> AskAlarmInputLevels(CDeviceSession& session,
                                                                         std::chrono::seconds timeOut);

} // namespace corvane::site
