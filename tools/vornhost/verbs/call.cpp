#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/session/answered_call.h"
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
        SAnsweredCall answered;
        orWrongUsage([&] {
            answered = WhileWaiting("waiting for " + PrintableText(call_.operation),
                                    [&] { return CallOn(session, call_); });
        });
        WriteOutput(session.options().json ? JsonLine(answered.toJson(call_))
                                           : AnswerText(answered.answer, outputNames(session)));
        if (answered.problem)
            WriteMessage(answered.problem->lines(session.address() + ": " + call_.operation));
        return answered.succeeded() ? ExitStatus::Success : ExitStatus::CallFailed;
    }

    Texts outputNames(const CDeviceSession& session) const {
        for (const SOperation& operation : session.operations().operations())
            if (operation.name == call_.operation &&
                operation.parameterNames.size() == call_.arguments.size())
                return operation.outputNames;
        return {};
    }

    template <class Action>
    void orWrongUsage(Action action) {
        try {
            action();
        } catch (const COperationError& error) {
            wrongCall_ = error.what();
            throw CFailure(ExitStatus::WrongUsage, call_.operation + ": " + wrongCall_);
        }
    }

    std::string problemLine(const SDiagnosis& failure) const override {
        if (wrongCall_.empty())
            return CDeviceVerb::problemLine(failure);
        ordered_json json = ErrorJson(call_.operation, wrongCall_);
        json["problem"] = ProblemObject(failure);
        return JsonLine(json);
    }

    const CLI::App* command_ = nullptr;
    SCall call_;
    std::string wrongCall_; // why it could not be made
};

} // namespace

std::unique_ptr<IVerb> MakeCallVerb() {
    return std::make_unique<CCall>();
}

} // namespace corvane::vornhost
