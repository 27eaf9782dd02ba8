#pragma once

#include "tools/vornhost/calls/invocation.h"

#include <nlohmann/json.hpp>

#include <string>

namespace corvane::vornhost {

// A call's answer as scripts read it. `values` is always there, empty for an operation without output
// arguments; `result`, `type` and `record` where the operation has them.
nlohmann::ordered_json AnswerJson(const SCall& call, const STimedAnswer& timed);

// The answer to a call that could not be made.
nlohmann::ordered_json ErrorJson(const std::string& operation, const std::string& error);

// What an operation returned: {"code","origin","text"}, in every output that has it.
nlohmann::ordered_json ErrorMembers(const device_handler::v1_0::CError& error);

// As one line with its line end; bytes that are no UTF-8 are replaced.
std::string JsonLine(const nlohmann::ordered_json& value);

// A duration as answers tell it: milliseconds with three decimals at most.
double RoundedMilliseconds(double milliseconds);

// A call's answer for a person's eyes, a line or more.
std::string AnswerText(const STimedAnswer& timed);

} // namespace corvane::vornhost
