#pragma once

#include "site/calls/call.h"
#include "site/diagnosis/diagnosis.h"
#include "site/session/device_session.h"

#include <optional>
#include <string>

namespace corvane::site {

// A call's answer, and what is wrong with it.
struct SAnsweredCall {
    STimedAnswer answer;
    std::optional<SDiagnosis> problem;

    bool succeeded() const { return answer.succeeded() && !problem; }
    // As scripts read it.
    ordered_json toJson(const SCall& call) const;
};

// Makes a call on the session's camera, controller or handler and waits for its answer. Throws
// COperationError when the call cannot be made.
SAnsweredCall CallOn(CDeviceSession& session, const SCall& call);

// What is wrong with an operation's answer: why the call failed, or what failed that it rests on; nothing
// where all is well. The exchanges of earlier calls have been taken.
std::optional<SDiagnosis> ProblemOf(const CDeviceSession& session, const std::string& operation,
                                    const SAnswer& answer);

} // namespace corvane::site
