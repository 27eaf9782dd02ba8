#include "site/base/standard_streams.h"
#include "site/calls/answer_text.h"
#include "site/report/camera_report.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/report/camera_report_text.h"
#include "tools/vornhost/verbs/device_verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace corvane::vornhost {
namespace {

constexpr const char* ShowHelp =
    R"(What the camera is, what it can do, how it is set, and what is wrong with it.
Exit status 1 when something is wrong with it, 3 when it cannot be used at all; a warning, as of Basic
authentication, changes nothing of it.
Example: vornhost --user admin --password-file pw.txt show 192.168.0.10)";

class CShow : public CDeviceVerb {
public:
    void declare(CLI::App& command) override {
        CDeviceVerb::declare(command);
        command.footer(ShowHelp);
    }

private:
    void prepare(CDeviceSession& session) override { session.alwaysIdentify(); }

    void tellNotStarted(const CDeviceSession& session, const SDiagnosis& failure) override {
        SCameraReport known = ReportUnstarted(session, failure);
        if (!session.options().json)
            known.problems.erase(known.problems.begin()); // told once, on standard error
        write(known, session.options().json);
        WriteMessage(failure.lines(session.address()));
    }

    ExitStatus runOn(CDeviceSession& session) override {
        const SCameraReport report = WhileWaiting("waiting for all that the camera can tell",
                                                  [&session] { return ReportCamera(session); });
        write(report, session.options().json);
        const bool allWell = std::all_of(report.problems.begin(), report.problems.end(),
                                         [](const SReportProblem& told) { return told.diagnosis.isWarning; });
        return allWell ? ExitStatus::Success : ExitStatus::CallFailed;
    }

    static void write(const SCameraReport& report, bool json) {
        WriteOutput(json ? JsonLine(ReportJson(report)) : ReportText(report, ColourWanted()));
    }
};

} // namespace

std::unique_ptr<IVerb> MakeShowVerb() {
    return std::make_unique<CShow>();
}

} // namespace corvane::vornhost
