#pragma once

#include "site/base/json_line.h"
#include "site/base/names.h"
#include "site/calls/call.h"

#include <nlohmann/json.hpp>

#include <string>

namespace corvane::site {

// A call's answer as scripts read it. `values` is always there, empty for an operation without output
// arguments; `result`, `type` and `record` where the operation has them.
// `problem` is told where it is one.
ordered_json AnswerJson(const SCall& call, const STimedAnswer& timed,
                        const ordered_json& problem = ordered_json::object());

// The answer to a call that could not be made.
ordered_json ErrorJson(const std::string& operation, const std::string& error);

// The fields of its record that are set.
ordered_json RecordJson(const SAnswer& answer);

// What an operation returned: {"code","origin","text"}, in every output that has it.
ordered_json ErrorMembers(const CError& error);

// A call's answer for a person's eyes, a line or more.
// `names`: of its output arguments, where they are known.
std::string AnswerText(const STimedAnswer& timed, const Texts& names = {});

} // namespace corvane::site
