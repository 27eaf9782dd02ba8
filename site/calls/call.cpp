#include "site/calls/call.h"

#include "site/base/elapsed.h"

#include "refhost/text/near_names.h"
#include "site/base/terminal_text.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <utility>

namespace corvane::site {
namespace {

using Clock = std::chrono::steady_clock;

} // namespace

CAsyncOp StartCall(const COperationRegistry& operations, const SCall& call,
                   std::function<void(STimedAnswer)> done) {
    const Clock::time_point start = Clock::now();
    return operations.call(call.operation, call.arguments,
                           [start, done = std::move(done)](const SAnswer& answer) {
                               done({answer, MillisecondsSince(start)});
                           });
}

STimedAnswer MakeCall(const COperationRegistry& operations, const SCall& call) {
    const auto promise = std::make_shared<std::promise<STimedAnswer>>();
    std::future<STimedAnswer> future = promise->get_future();
    StartCall(operations, call, [promise](STimedAnswer answer) { promise->set_value(std::move(answer)); });
    return future.get();
}

std::optional<SAnswer> AnswerIfThere(const COperationRegistry& operations, const std::string& operation,
                                     const Texts& arguments) {
    try {
        return MakeCall(operations, {operation, arguments}).answer;
    } catch (const COperationError&) {
        return std::nullopt;
    }
}

void RequireOperation(const COperationRegistry& operations, const SCall& call) {
    Texts names;
    for (const SOperation& operation : operations.operations()) {
        if (operation.name == call.operation && operation.parameterNames.size() == call.arguments.size())
            return;
        names.push_back(operation.name);
    }
    try {
        // Without a fitting operation this only tells what is wrong.
        operations.call(call.operation, call.arguments, [](const SAnswer&) {});
    } catch (const COperationError& error) {
        const bool known = std::find(names.begin(), names.end(), call.operation) != names.end();
        const Texts near = refhost::NearNames(call.operation, names);
        if (known || near.empty())
            throw;
        throw COperationError(std::string(error.what()) + "; did you mean " + Join(near, ", ") + "?");
    }
}

std::string RecordArgument(const SAnswer& answer) {
    std::string text;
    for (const auto& [field, value] : answer.recordOrEmpty())
        text += (text.empty() ? "" : ";") + field + "=" + value;
    return text;
}

std::string SignatureOf(const SOperation& operation) {
    std::string signature = operation.name;
    for (std::size_t i = 0; i < operation.parameterNames.size(); ++i)
        signature += " <" + operation.parameterNames[i] + ": " + operation.parameterForms[i] + ">";
    return signature;
}

} // namespace corvane::site
