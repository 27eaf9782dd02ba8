#include "tools/vornhost/calls/answers.h"
#include "tools/vornhost/console/output.h"
#include "tools/vornhost/session/device_session.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

namespace corvane::vornhost {
namespace {

class CCall : public IVerb {
public:
    void declare(CLI::App& command) override {
        command_ = &command;
        // What follows the address belongs to the operation, "-50" and "--x" too.
        command.prefix_command();
        command.footer(
            "Everything behind ADDRESS belongs to the operation; `vornhost operations` tells all.\n"
            "Examples:\n"
            "  vornhost call 192.168.0.10 getUnitModelName\n"
            "  vornhost call --json 192.168.0.10 setting.GetCameraSetting CAMTITLE\n"
            "  vornhost call 192.168.0.10 capability.getMaxFrameRate h264 0 16_9");
    }

    ExitStatus run(const SOptions& options) override {
        const std::vector<std::string> words = command_->remaining();
        if (words.size() < 2)
            throw CFailure(ExitStatus::WrongUsage, "call: expected ADDRESS OPERATION [ARGUMENT...]");
        const SCall call{words[1], {words.begin() + 2, words.end()}};
        CDeviceSession session(options, words[0]);
        try {
            RequireOperation(session.operations(), call);
            if (!StartOrTell(session))
                return ExitStatus::NotStarted;
            session.exchanges().takeFailing();
            return report(session, call, MakeCall(session.operations(), call), options.json);
        } catch (const device_handler::v1_0::COperationError& error) {
            throw CFailure(ExitStatus::WrongUsage, call.operation + ": " + error.what());
        }
    }

private:
    static ExitStatus report(const CDeviceSession& session, const SCall& call, const STimedAnswer& answer,
                             bool json) {
        WriteOutput(json ? JsonLine(AnswerJson(call, answer)) : AnswerText(answer));
        if (answer.succeeded())
            return ExitStatus::Success;
        WriteMessage(Diagnose(Occasion::Call, *answer.answer.error, session.exchanges())
                         .lines(session.address() + ": " + call.operation));
        return ExitStatus::CallFailed;
    }

    const CLI::App* command_ = nullptr;
};

} // namespace

std::unique_ptr<IVerb> MakeCallVerb() {
    return std::make_unique<CCall>();
}

} // namespace corvane::vornhost
