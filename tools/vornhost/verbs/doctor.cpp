#include "refhost/base/log.h"
#include "site/base/elapsed.h"
#include "site/base/json_line.h"
#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "site/cameras/drift.h"
#include "site/cameras/site_wish.h"
#include "site/session/loaded_plugin.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/console/waiting_line.h"
#include "tools/vornhost/doctor/bundle.h"
#include "tools/vornhost/doctor/examination.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/session/versions.h"
#include "tools/vornhost/verbs/verb.h"

#include <nlohmann/json.hpp>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <vector>

namespace corvane::vornhost {
namespace {

constexpr const char* DoctorHelp =
    R"(Looks at a camera from its address to its pictures, and names the fault that the others follow from.
Changes nothing there, save with --write-test and --move.
Exit status 1 when there is a fault; a warning changes nothing of it.
Example: vornhost doctor 192.168.0.10)";

class CDoctor : public IVerb {
public:
    void declare(CLI::App& command) override {
        command.add_option("ADDRESS", address_, "The camera; with --site its name will do")->required();
        command.add_flag("--write-test", plan_.withWrite, "Write one setting with the value that it has");
        command.add_flag("--move", plan_.withMove, "Move the head by a step and back");
        CLI::Option* const record = command
                                        .add_option("--record", recordFile_,
                                                    "What the recorder wants: streams and adjustments (JSON)")
                                        ->type_name("FILE");
        command.add_option("--site", siteFile_, "The same, and how it is asked, as the site file has it")
            ->type_name("SITE")
            ->excludes(record);
        command.add_option("--bundle", bundleFile_, "Write what a support desk needs (.tar.gz)")
            ->type_name("FILE");
        command.footer(DoctorHelp);
    }

    ExitStatus run(const SOptions& options) override {
        if (!recordFile_.empty())
            plan_.record = CDrift::read(recordFile_);
        if (siteFile_.empty())
            return examine(options, CCredentials::fromOptions(options));
        const site::SSite site = OpenSite(siteFile_, *OpenModelList(options));
        const site::SSiteCamera& camera = FindCamera(site, address_);
        plan_.record = WishOf(camera, UtcToday());
        plan_.serialNumber = camera.serialNumber;
        address_ = camera.address;
        return examine(OptionsFor(camera, options), CredentialsOf(site, options).at(camera.credentials));
    }

private:
    ExitStatus examine(const SOptions& options, CCredentials credentials) {
        const auto start = std::chrono::steady_clock::now();
        refhost::KeepExchangeDetails(true);
        const CLogKept log(!bundleFile_.empty());
        CDeviceSession session(SRecorder(options), options, std::move(credentials), address_);
        session.alwaysIdentify();
        CWaitingLine waiting;
        CExamination examination(session, plan_,
                                 {[&](const SFinding& finding) {
                                      const auto quiet = waiting.pause();
                                      WriteOutput(options.json ? JsonLine(FindingJson(finding))
                                                               : FindingText(finding, ColourWanted()));
                                  },
                                  [&](const std::string& what) { waiting.show("waiting for " + what); }});
        const std::vector<SFinding> findings = examination.run();
        waiting.end();
        const ExitStatus status = tellVerdict(findings, MillisecondsSince(start), options.json);
        if (!bundleFile_.empty())
            writeBundle(session, findings, log.text());
        return status;
    }

    // Every line of the log, from here on, whatever is shown of it.
    class CLogKept {
    public:
        explicit CLogKept(bool isWanted) {
            if (isWanted)
                refhost::SetLogObserver([this](int level, const std::string& line) {
                    const std::lock_guard<std::mutex> lock(mutex_);
                    text_ += std::to_string(level) + " " + line + "\n";
                });
        }
        ~CLogKept() { refhost::SetLogObserver({}); }
        CLogKept(const CLogKept&) = delete;
        CLogKept& operator=(const CLogKept&) = delete;

        std::string text() const {
            const std::lock_guard<std::mutex> lock(mutex_);
            return text_;
        }

    private:
        mutable std::mutex mutex_;
        std::string text_; // guarded by mutex_
    };

    void writeBundle(const CDeviceSession& session, const std::vector<SFinding>& findings,
                     const std::string& log) const {
        SBundleContent content;
        for (const SFinding& finding : findings) {
            content.report += FindingText(finding, false);
            content.findings += JsonLine(FindingJson(finding));
        }
        content.exchanges = session.exchanges().transcript();
        content.log = log;
        content.versions = VersionsText(session.options());
        const std::string told = WriteBundle(bundleFile_, content);
        if (session.options().json)
            WriteMessage(told);
        else
            WriteOutput(told);
    }

    ExitStatus tellVerdict(const std::vector<SFinding>& findings, double milliseconds, bool json) const {
        const auto count = [&findings](CheckResult result) {
            return std::count_if(findings.begin(), findings.end(),
                                 [result](const SFinding& finding) { return finding.result == result; });
        };
        const auto faults = count(CheckResult::Fault);
        const auto warnings = count(CheckResult::Warning);
        const SFinding* const root = CExamination::rootOf(findings);
        const char* const verdict = faults > 0 ? "fault" : warnings > 0 ? "warning" : "ok";
        if (json) {
            ordered_json line{{"verdict", verdict}, {"address", address_}};
            if (root)
                line["cause"] = root->problem->cause;
            line.update({{"checks", findings.size()},
                         {"faults", faults},
                         {"warnings", warnings},
                         {"ms", ThreeDecimals(milliseconds)}});
            WriteOutput(JsonLine(line));
        } else {
            WriteOutput("\n" + verdictText(root, faults > 0) + " (" + MillisecondsText(milliseconds) + ")\n");
        }
        return faults > 0 ? ExitStatus::CallFailed : ExitStatus::Success;
    }

    std::string verdictText(const SFinding* root, bool isFault) const {
        if (!root)
            return PrintableText(address_) + ": nothing is wrong";
        return PrintableText(address_ + ": " + root->problem->problem) + " [" + root->problem->cause +
               (isFault ? "" : ", a warning") + "]";
    }

    std::string address_;
    std::string recordFile_;
    std::string siteFile_;
    std::string bundleFile_;
    SExaminationPlan plan_;
};

} // namespace

std::unique_ptr<IVerb> MakeDoctorVerb() {
    return std::make_unique<CDoctor>();
}

} // namespace corvane::vornhost
