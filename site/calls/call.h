#pragma once

#include "site/base/names.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// What the names of the operations begin with that are none of the camera object's.
inline constexpr const char* ControllerPrefix = "controller.";
inline constexpr const char* HandlerPrefix = "handler.";
inline constexpr const char* SettingPrefix = "setting.";
inline constexpr const char* CapabilityPrefix = "capability.";

struct SCall {
    std::string operation;
    Texts arguments;
};

struct STimedAnswer {
    SAnswer answer;
    double milliseconds = 0;

    bool succeeded() const { return !answer.error || !*answer.error; }
};

// Makes a call; `done` runs once, before the return or when the operation's callback does, on its thread.
// Throws COperationError when the call cannot be made.
CAsyncOp StartCall(const COperationRegistry& operations, const SCall& call,
                   std::function<void(STimedAnswer)> done);

// Makes a call and waits for its answer. Throws COperationError when the call cannot be made.
STimedAnswer MakeCall(const COperationRegistry& operations, const SCall& call);

// The same, with nothing for a call that cannot be made: the camera does not have the operation, or what the
// arguments name.
std::optional<SAnswer> AnswerIfThere(const COperationRegistry& operations, const std::string& operation,
                                     const Texts& arguments);

// Throws COperationError when there is no such operation, with the names that are like it, or none that
// takes as many arguments. Makes no call.
void RequireOperation(const COperationRegistry& operations, const SCall& call);

// An answer's record as another call takes it: "field=value;...".
std::string RecordArgument(const SAnswer& answer);

// "getVideoCodecId <channel: number> <index: number>".
std::string SignatureOf(const SOperation& operation);

} // namespace corvane::site
