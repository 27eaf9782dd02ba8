#include "tools/vornhost/report/camera_report_text.h"

#include "site/base/terminal_text.h"
#include "tools/vornhost/console/table.h"
#include "tools/vornhost/names.h"

namespace corvane::vornhost {
namespace {

bool IsError(const ordered_json& value) {
    return value.is_object() && value.contains("code");
}

std::string ValueText(const ordered_json& value) {
    if (value.is_null())
        return "";
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_array()) {
        Texts texts;
        for (const ordered_json& entry : value)
            texts.push_back(ValueText(entry));
        return Join(texts, ", ");
    }
    if (IsError(value))
        return "?"; // why stands among the problems
    if (value.is_object() && value.contains("fixedBy"))
        return "fixed by " + ValueText(value.at("fixedBy"));
    if (value.is_object()) // a range
        return ValueText(value.at("from")) + " to " + ValueText(value.at("to")) + " in steps of " +
               ValueText(value.at("step"));
    return value.is_string() ? value.get<std::string>() : value.dump();
}

CTable TextTable(const SFactTable& facts) {
    Texts titles;
    for (const auto& column : facts.columns)
        titles.push_back(column.second);
    CTable table(titles, 2);
    for (const std::vector<ordered_json>& row : facts.rows) {
        Texts cells;
        for (const ordered_json& value : row)
            cells.push_back(ValueText(value));
        table.addRow(std::move(cells));
    }
    return table;
}

std::string SectionText(const SReportSection& section, bool colour) {
    std::string text = Bold(section.title, colour) + "\n";
    CTable facts({}, 2);
    for (const SFact& fact : section.facts)
        facts.addRow({fact.label, ValueText(fact.value)});
    text += facts.rowLines();
    if (!section.table.rows.empty()) {
        const CTable table = TextTable(section.table);
        text += table.headingLines(colour) + table.rowLines();
    }
    return text;
}

std::string ProblemText(const SReportProblem& problem, bool colour) {
    const SDiagnosis& diagnosis = problem.diagnosis;
    CTable details({}, 4);
    const std::pair<const char*, const std::string&> rows[] = {{"call", problem.operation},
                                                               {"plug-in", diagnosis.pluginText},
                                                               {"asked", diagnosis.request},
                                                               {"answered", diagnosis.reply},
                                                               {"try", diagnosis.advice}};
    for (const auto& [label, text] : rows)
        if (!text.empty())
            details.addRow({label, text});
    return "  " + Red(PrintableText(diagnosis.problem), colour) + "\n" + details.rowLines();
}

} // namespace

std::string ReportText(const SCameraReport& report, bool colour) {
    std::string text;
    for (const SReportSection& section : report.sections)
        text += (text.empty() ? "" : "\n") + SectionText(section, colour);
    if (!report.problems.empty())
        text += "\n" + Bold("What is wrong", colour) + "\n";
    for (const SReportProblem& problem : report.problems)
        text += ProblemText(problem, colour);
    return text;
}

} // namespace corvane::vornhost
