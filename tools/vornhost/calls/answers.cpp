#include "tools/vornhost/calls/answers.h"

#include "refhost/base/printable_text.h"
#include "tools/vornhost/console/terminal_text.h"

#include <cmath>
#include <variant>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::SAnswer;
using nlohmann::ordered_json;

struct SResultJson {
    ordered_json operator()(std::monostate) const { return nullptr; }
    template <class T>
    ordered_json operator()(const T& value) const {
        return value;
    }
};

struct SResultText {
    std::vector<std::string> operator()(std::monostate) const { return {}; }
    std::vector<std::string> operator()(bool value) const { return {value ? "true" : "false"}; }
    std::vector<std::string> operator()(long long value) const { return {std::to_string(value)}; }
    std::vector<std::string> operator()(const std::string& value) const { return {value}; }
    std::vector<std::string> operator()(const std::vector<std::string>& value) const { return value; }
};

std::string LabelledLines(const char* label, const std::vector<std::string>& texts) {
    std::string lines;
    for (const std::string& text : texts)
        lines += PadTo(lines.empty() ? label : "", 8) + PrintableText(text) + "\n";
    return lines;
}

std::vector<std::string> RecordTexts(const SAnswer& answer) {
    std::vector<std::string> texts;
    for (const auto& [field, value] : answer.recordOrEmpty())
        texts.push_back(field + "=" + value);
    return texts;
}

} // namespace

ordered_json AnswerJson(const SCall& call, const STimedAnswer& timed) {
    const SAnswer& answer = timed.answer;
    ordered_json json{{"operation", call.operation}, {"arguments", call.arguments}};
    if (answer.error)
        json.update(ErrorMembers(*answer.error));
    if (answer.result.index() != 0)
        json["result"] = std::visit(SResultJson(), answer.result);
    json["values"] = answer.values;
    if (answer.type)
        json["type"] = *answer.type;
    if (answer.record) {
        ordered_json& record = json["record"] = ordered_json::object();
        for (const auto& [field, value] : *answer.record)
            record[field] = value;
    }
    json["ms"] = RoundedMilliseconds(timed.milliseconds);
    return json;
}

ordered_json ErrorMembers(const device_handler::v1_0::CError& error) {
    return {{"code", error.getCode()}, {"origin", error.getOrigin()}, {"text", error.getText()}};
}

ordered_json ErrorJson(const std::string& operation, const std::string& error) {
    return {{"operation", operation}, {"error", error}};
}

std::string JsonLine(const ordered_json& value) {
    return refhost::JsonText(value) + "\n";
}

double RoundedMilliseconds(double milliseconds) {
    return std::round(milliseconds * 1000) / 1000;
}

std::string AnswerText(const STimedAnswer& timed) {
    const SAnswer& answer = timed.answer;
    std::string text = LabelledLines("result", std::visit(SResultText(), answer.result));
    if (timed.succeeded())
        text += LabelledLines("values", answer.values);
    text += LabelledLines("record", RecordTexts(answer));
    if (answer.error) {
        text += LabelledLines("code", {std::to_string(answer.error->getCode())});
        if (!answer.error->getText().empty())
            text += LabelledLines("text", {answer.error->getText()});
    }
    return text;
}

} // namespace corvane::vornhost
