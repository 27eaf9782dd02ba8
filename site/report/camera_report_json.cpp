#include "site/report/camera_report.h"

namespace corvane::site {
namespace {

bool IsError(const ordered_json& value) {
    return value.is_object() && value.contains("code");
}

ordered_json TableJson(const SFactTable& table) {
    ordered_json rows = ordered_json::array();
    for (const std::vector<ordered_json>& row : table.rows) {
        ordered_json object = ordered_json::object();
        for (std::size_t i = 0; i < row.size(); ++i)
            if (IsError(row[i]))
                object.update(row[i]);
            else if (!row[i].is_null())
                object[table.columns[i].first] = row[i];
        rows.push_back(std::move(object));
    }
    return rows;
}

ordered_json ProblemJson(const SReportProblem& problem) {
    ordered_json json{{"text", problem.diagnosis.problem}};
    json.update(ProblemObject(problem.diagnosis));
    if (!problem.operation.empty())
        json["operation"] = problem.operation;
    return json;
}

} // namespace

ordered_json ReportJson(const SCameraReport& report) {
    ordered_json json = ordered_json::object();
    for (const SReportSection& section : report.sections) {
        const ordered_json::json_pointer place(section.place);
        if (!section.table.columns.empty())
            json[place] = TableJson(section.table);
        for (const SFact& fact : section.facts)
            json[place][fact.key] = fact.value;
    }
    ordered_json& problems = json["problems"] = ordered_json::array();
    for (const SReportProblem& problem : report.problems)
        problems.push_back(ProblemJson(problem));
    return json;
}

} // namespace corvane::site
