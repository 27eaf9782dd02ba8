#include "tools/vornhost/site/site_doctor.h"

#include "site/base/child_process.h"

#include <nlohmann/json.hpp>

namespace corvane::vornhost {
namespace {

SDiagnosis DiagnosisOf(const ordered_json& line) {
    const ordered_json& problem = line.at("problem");
    SDiagnosis diagnosis;
    diagnosis.cause = problem.value("cause", "");
    diagnosis.isCertain = problem.value("certain", true);
    diagnosis.phase = problem.value("phase", "");
    diagnosis.request = problem.value("asked", "");
    diagnosis.reply = problem.value("answered", "");
    diagnosis.advice = problem.value("try", "");
    diagnosis.problem =
        line.contains("check") ? line.value("check", "") + ": " + diagnosis.reply : diagnosis.reply;
    return diagnosis;
}

} // namespace

CSiteDoctor::CSiteDoctor(const SOptions& options, const std::string& siteFile) {
    SOptions json = options;
    json.json = true;
    command_ = json.arguments();
    command_.insert(command_.end(), {"doctor", "--site", siteFile});
}

bool CSiteDoctor::examine(const site::SSiteCamera& camera, SCameraFinding& finding) const {
    std::vector<std::string> command = command_;
    command.insert(command.end(), {"--", camera.name});
    std::string verdict;
    RunThisProgram(command, [&](const std::string& text) {
        const ordered_json line = ordered_json::parse(text, nullptr, false);
        if (!line.is_object())
            return;
        verdict = line.value("verdict", verdict);
        if (line.contains("problem"))
            finding.checks.push_back(line);
        // The verdict, which comes last, names the fault that the others follow from.
        if (line.contains("verdict") && verdict == "fault")
            for (const ordered_json& check : finding.checks)
                if (!finding.problem && check.value("result", "") == "fault" &&
                    check["problem"].value("cause", "") == line.value("cause", ""))
                    finding.problem = DiagnosisOf(check);
    });
    if (verdict.empty())
        finding.problem = finding.checks.empty()
                              ? ProcessLost("the examination has ended without a verdict", "site")
                              : DiagnosisOf(finding.checks.back());
    return !verdict.empty();
}

} // namespace corvane::vornhost
