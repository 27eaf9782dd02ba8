#include "site/calls/answer_text.h"

#include "site/base/terminal_text.h"

#include <algorithm>
#include <variant>

namespace corvane::site {
namespace {

struct SResultJson {
    ordered_json operator()(std::monostate) const { return nullptr; }
    template <class T>
    ordered_json operator()(const T& value) const {
        return value;
    }
};

struct SResultText {
    Texts operator()(std::monostate) const { return {}; }
    Texts operator()(bool value) const { return {value ? "true" : "false"}; }
    Texts operator()(long long value) const { return {std::to_string(value)}; }
    Texts operator()(const std::string& value) const { return {value}; }
    Texts operator()(const Texts& value) const { return value; }
};

std::string LabelledLines(const char* label, const Texts& texts) {
    std::string lines;
    for (const std::string& text : texts)
        lines += PadTo(lines.empty() ? label : "", 8) + PrintableText(text) + "\n";
    return lines;
}

// Several values with their names; a list, and a value alone, need none.
std::string ValueLines(const Texts& values, const Texts& names) {
    static const Texts ofProperty{"current", "default", "lowest", "highest", "step"};
    if (names == Texts{"out"} && values.size() == ofProperty.size())
        return ValueLines(values, ofProperty);
    if (values.size() < 2 || names.size() != values.size())
        return LabelledLines("values", values);
    std::size_t width = 0;
    for (const std::string& name : names)
        width = std::max(width, name.size());
    Texts named;
    for (std::size_t i = 0; i < values.size(); ++i)
        named.push_back(PadTo(names[i], width) + "  " + values[i]);
    return LabelledLines("values", named);
}

Texts RecordTexts(const SAnswer& answer) {
    Texts texts;
    for (const auto& [field, value] : answer.recordOrEmpty())
        texts.push_back(field + "=" + value);
    return texts;
}

} // namespace

ordered_json AnswerJson(const SCall& call, const STimedAnswer& timed, const ordered_json& problem) {
    const SAnswer& answer = timed.answer;
    ordered_json json{{"operation", call.operation}, {"arguments", call.arguments}};
    if (answer.error)
        json.update(ErrorMembers(*answer.error));
    if (answer.result.index() != 0)
        json["result"] = std::visit(SResultJson(), answer.result);
    json["values"] = answer.values;
    if (answer.type)
        json["type"] = *answer.type;
    if (answer.record)
        json["record"] = RecordJson(answer);
    json["ms"] = ThreeDecimals(timed.milliseconds);
    if (!problem.empty())
        json["problem"] = problem;
    return json;
}

ordered_json RecordJson(const SAnswer& answer) {
    ordered_json record = ordered_json::object();
    for (const auto& [field, value] : answer.recordOrEmpty())
        record[field] = value;
    return record;
}

ordered_json ErrorMembers(const CError& error) {
    return {{"code", error.getCode()}, {"origin", error.getOrigin()}, {"text", error.getText()}};
}

ordered_json ErrorJson(const std::string& operation, const std::string& error) {
    return {{"operation", operation}, {"error", error}};
}

std::string AnswerText(const STimedAnswer& timed, const Texts& names) {
    const SAnswer& answer = timed.answer;
    std::string text = LabelledLines("result", std::visit(SResultText(), answer.result));
    if (timed.succeeded())
        text += ValueLines(answer.values, names);
    text += LabelledLines("record", RecordTexts(answer));
    if (answer.error) {
        text += LabelledLines("code", {std::to_string(answer.error->getCode())});
        if (!answer.error->getText().empty())
            text += LabelledLines("text", {answer.error->getText()});
    }
    return text;
}

} // namespace corvane::site
