#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/session/device_session.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

constexpr const char* CallHelp =
    R"(Everything behind ADDRESS belongs to the operation; `vornhost operations` tells all.
Examples:
  vornhost call 192.168.0.10 getUnitModelName
  vornhost call --json 192.168.0.10 setting.GetCameraSetting CAMTITLE
  vornhost call 192.168.0.10 capability.getMaxFrameRate h264 0 16_9)";

class CCall : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        command_ = &command;
        // What follows the address belongs to the operation, "-50" and "--x" too.
        command.prefix_command();
        command.footer(CallHelp);
    }

private:
    void checkArguments(const SOptions& /*options*/) override {
        const Texts words = command_->remaining();
        if (words.size() < 2)
            throw CFailure(ExitStatus::WrongUsage, "call: expected ADDRESS OPERATION [ARGUMENT...]");
        address_ = words[0];
        call_ = {words[1], {words.begin() + 2, words.end()}};
    }

    void prepare(CDeviceSession& session) override {
        orWrongUsage([&] { RequireOperation(session.operations(), call_); });
    }

    ExitStatus runOn(CDeviceSession& session) override {
        session.exchanges().takeFailing();
        STimedAnswer answer;
        orWrongUsage([&] {
            answer = WhileWaiting("waiting for " + PrintableText(call_.operation),
                                  [&] { return MakeCall(session.operations(), call_); });
        });
        const auto problem = ProblemOf(session, call_.operation, answer.answer);
        const auto told = problem ? ProblemObject(*problem) : ordered_json::object();
        WriteOutput(session.options().json ? JsonLine(AnswerJson(call_, answer, told))
                                           : AnswerText(answer, outputNames(session)));
        if (!problem)
            return ExitStatus::Success;
        WriteMessage(problem->lines(session.address() + ": " + call_.operation));
        return ExitStatus::CallFailed;
    }

    Texts outputNames(const CDeviceSession& session) const {
        for (const SOperation& operation : session.operations().operations())
            if (operation.name == call_.operation &&
                operation.parameterNames.size() == call_.arguments.size())
                return operation.outputNames;
        return {};
    }

    template <class Action>
    void orWrongUsage(Action action) const {
        try {
            action();
        } catch (const COperationError& error) {
            throw CFailure(ExitStatus::WrongUsage, call_.operation + ": " + error.what());
        }
    }

    const CLI::App* command_ = nullptr;
    SCall call_;
};

} // namespace

std::unique_ptr<IVerb> MakeCallVerb() {
    return std::make_unique<CCall>();
}

} // namespace corvane::vornhost
