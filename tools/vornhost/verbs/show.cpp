#include "tools/vornhost/calls/answers.h"
#include "tools/vornhost/console/output.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/verbs/camera_report.h"
#include "tools/vornhost/verbs/verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace corvane::vornhost {
namespace {

class CShow : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera")->required();
        command.footer(
            "What the camera is, what it can do, how it is set, and what is wrong with it.\n"
            "Exit status 1 when something is wrong with it, 3 when it cannot be used at all; a warning, "
            "as of Basic\nauthentication, changes nothing of it.\n"
            "Example: vornhost --user admin --password-file pw.txt show 192.168.0.10");
    }

    ExitStatus run(const SOptions& options) override {
        CDeviceSession session(options, address_);
        session.alwaysIdentify();
        if (const auto failure = session.start()) {
            SCameraReport known = ReportUnstarted(session, *failure);
            if (!options.json)
                known.problems.erase(known.problems.begin()); // told once, on standard error
            write(known, options.json);
            WriteMessage(failure->lines(session.address()));
            return ExitStatus::NotStarted;
        }
        const SCameraReport report = ReportCamera(session);
        write(report, options.json);
        const bool allWell = std::all_of(report.problems.begin(), report.problems.end(),
                                         [](const SReportProblem& told) { return told.diagnosis.isWarning; });
        return allWell ? ExitStatus::Success : ExitStatus::CallFailed;
    }

private:
    static void write(const SCameraReport& report, bool json) {
        WriteOutput(json ? JsonLine(ReportJson(report)) : ReportText(report, ColourWanted()));
    }

    std::string address_;
};

} // namespace

std::unique_ptr<IVerb> MakeShowVerb() {
    return std::make_unique<CShow>();
}

} // namespace corvane::vornhost
