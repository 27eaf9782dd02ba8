#include "tools/vornhost/doctor/finding.h"

#include "site/base/json_line.h"
#include "site/base/terminal_text.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace corvane::vornhost {
namespace {

constexpr std::size_t CheckWidth = 18; // "stream:0,mpeg4,1"
constexpr std::size_t ResultWidth = 8;

const char* NameOf(CheckResult result) {
    switch (result) {
    case CheckResult::Ok:
        return "ok";
    case CheckResult::Warning:
        return "warning";
    case CheckResult::Fault:
        return "fault";
    case CheckResult::Skipped:
        break;
    }
    return "skipped";
}

SFinding Found(CheckResult result, SDiagnosis problem) {
    SFinding finding;
    finding.result = result;
    finding.problem = std::move(problem);
    return finding;
}

std::string Indented(const std::string& lines) {
    std::string text;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = lines.find('\n', begin) + 1;
        text += "  " + lines.substr(begin, end - begin);
        begin = end;
    }
    return text;
}

} // namespace

SFinding Sound(const std::string& note) {
    SFinding finding;
    finding.note = note;
    return finding;
}

SFinding Faulty(SDiagnosis problem) {
    return Found(CheckResult::Fault, std::move(problem));
}

SFinding Warned(SDiagnosis problem) {
    return Found(CheckResult::Warning, std::move(problem));
}

ordered_json FindingJson(const SFinding& finding) {
    ordered_json json{{"check", finding.check}, {"result", NameOf(finding.result)}};
    if (finding.result == CheckResult::Skipped)
        json["because"] = finding.because;
    else
        json["ms"] = ThreeDecimals(finding.milliseconds);
    if (finding.problem)
        json["problem"] = ProblemObject(*finding.problem);
    return json;
}

std::string FindingText(const SFinding& finding, bool colour) {
    const std::string result = PadTo(NameOf(finding.result), ResultWidth);
    std::string line = PadTo(PrintableText(finding.check), CheckWidth) + "  " +
                       (finding.problem ? Red(result, colour) : result) + "  ";
    if (finding.result == CheckResult::Skipped)
        line += "because of " + finding.because;
    else
        line += PadTo(MillisecondsText(finding.milliseconds), MillisecondsText(9999.9).size()) + "  " +
                PrintableText(finding.problem ? finding.problem->problem : finding.note);
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n" + (finding.problem ? Indented(finding.problem->details()) : "");
}

} // namespace corvane::vornhost
