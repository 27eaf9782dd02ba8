#include "site/cameras/finding.h"

#include <nlohmann/json.hpp>

namespace corvane::site {

const char* NameOf(CameraState state) {
    switch (state) {
    case CameraState::Fault:
        return "fault";
    case CameraState::NotAccepted:
        return "not-accepted";
    case CameraState::Differs:
        return "differs";
    case CameraState::Changed:
        return "changed";
    case CameraState::Same:
        break;
    }
    return "same";
}

std::string ToldOf(const std::string& of) {
    const std::string prefix = OfStreamPrefix;
    return of.compare(0, prefix.size(), prefix) == 0 ? "stream " + of.substr(prefix.size()) : of;
}

namespace {

ordered_json ValueJson(const std::string& text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

} // namespace

ordered_json DifferencesJson(const std::vector<SComparison>& differences) {
    ordered_json json = ordered_json::array();
    for (const SComparison& one : differences)
        json.push_back({{"of", ToldOf(one.of)},
                        {"field", one.field},
                        {"wanted", one.wanted},
                        {"camera", ValueJson(one.camera)}});
    return json;
}

ordered_json ChangesJson(const std::vector<SChange>& changes) {
    ordered_json json = ordered_json::array();
    for (const SChange& one : changes)
        json.push_back({{"of", ToldOf(one.before.of)},
                        {"field", one.before.field},
                        {"asked", one.before.wanted},
                        {"was", ValueJson(one.before.camera)},
                        {"is", ValueJson(one.after)}});
    return json;
}

ordered_json FindingJson(const SCameraFinding& finding) {
    ordered_json json{{"name", finding.camera->name},
                      {"address", finding.camera->address},
                      {"state", NameOf(finding.state)}};
    if (!finding.differences.empty())
        json["differences"] = DifferencesJson(finding.differences);
    if (!finding.changes.empty())
        json["changes"] = ChangesJson(finding.changes);
    if (finding.problem)
        json["problem"] = ProblemObject(*finding.problem);
    for (const ordered_json& check : finding.checks)
        json["checks"].push_back(check);
    return json;
}

} // namespace corvane::site
