#include "tools/vornhost/adjustments.h"

#include "tools/vornhost/terminal_text.h"

#include <algorithm>
#include <charconv>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SAnswer;

constexpr int HighestPercent = 100;
constexpr const char* On = "on";
constexpr const char* Off = "off";
constexpr const char* FocusName = "focus";

std::optional<int> NumberOf(const std::string& text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional<int>(number) : std::nullopt;
}

// The plug-in's value as a person writes it.
std::string Shown(const SAdjustmentInfo& info, const std::vector<std::string>& words,
                  const std::string& value) {
    if (info.form == AdjustmentForm::Percent)
        return value;
    if (info.form != AdjustmentForm::Word)
        return value == "1" ? On : Off;
    const std::optional<int> position = NumberOf(value);
    return position && *position >= 1 && static_cast<std::size_t>(*position) <= words.size()
               ? words[static_cast<std::size_t>(*position - 1)]
               : value;
}

std::vector<std::string> Values(const SAdjustmentInfo& info, const std::vector<std::string>& words) {
    switch (info.form) {
    case AdjustmentForm::Percent:
        return {};
    case AdjustmentForm::Word:
        return words;
    case AdjustmentForm::Switch:
        return {Off, On};
    case AdjustmentForm::Action:
        return {On};
    }
    return {};
}

bool IsNotSupported(const SAnswer& answer) {
    return answer.error && answer.error->getCode() == static_cast<int>(RtnCode::NotSupported);
}

} // namespace

const std::vector<SAdjustmentInfo>& Adjustments() {
    static const std::vector<SAdjustmentInfo> adjustments = {
        {"brightness", "brightness", "VpaBrightness", AdjustmentForm::Percent, false},
        {"sharpness", "sharpness", "VpaSharpness", AdjustmentForm::Percent, false},
        {"saturation", "saturation", "VpaSaturation", AdjustmentForm::Percent, false},
        {"whiteBalance", "white balance", "VpaWhiteBalance", AdjustmentForm::Word, false},
        {"backLight", "back-light compensation", "VpaBackLightComp", AdjustmentForm::Switch, false},
        {FocusName, "focus", "LensFocus", AdjustmentForm::Percent, true},
        {"autoFocus", "auto focus", "LensAutoFocus", AdjustmentForm::Action, true},
        {"wideDynamicRange", "wide dynamic range", "LensWdr", AdjustmentForm::Switch, true},
    };
    return adjustments;
}

const SAdjustmentInfo* FindAdjustment(const std::string& name) {
    const auto found = std::find_if(Adjustments().begin(), Adjustments().end(),
                                    [&name](const SAdjustmentInfo& info) { return name == info.name; });
    return found == Adjustments().end() ? nullptr : &*found;
}

std::optional<SAdjustmentReading> ReadAdjustment(const SAdjustmentInfo& info, const AskCamera& ask, int input,
                                                 const std::vector<std::string>& words) {
    // The plug-in answers for auto focus on every model; it goes with the focus.
    if (info.form == AdjustmentForm::Action && !ReadAdjustment(*FindAdjustment(FocusName), ask, input, words))
        return std::nullopt;
    const auto answer = ask(std::string("get") + info.operation, {std::to_string(input)});
    if (!answer || IsNotSupported(*answer))
        return std::nullopt;
    SAdjustmentReading reading{&info, "", "", {}, std::nullopt};
    if (answer->error && *answer->error) {
        reading.failure = *answer->error;
        return reading;
    }
    if (info.form == AdjustmentForm::Action) {
        reading.values = Values(info, words);
        return reading;
    }
    if (!answer->values.empty())
        reading.current = Shown(info, words, answer->values[0]);
    if (answer->values.size() > 1) { // a lone value cannot be set at the moment
        reading.byDefault = Shown(info, words, answer->values[1]);
        reading.values = Values(info, words);
    }
    return reading;
}

std::vector<SAdjustmentReading> ReadAdjustments(const AskCamera& ask, int input,
                                                const std::vector<std::string>& words) {
    const auto offered = ask("getVpaProperties", {std::to_string(input)});
    std::vector<SAdjustmentReading> readings;
    for (const SAdjustmentInfo& info : Adjustments()) {
        const bool isOffered =
            info.isOfLens || (offered && std::find(offered->values.begin(), offered->values.end(),
                                                   info.operation) != offered->values.end());
        if (auto reading = isOffered ? ReadAdjustment(info, ask, input, words) : std::nullopt)
            readings.push_back(std::move(*reading));
    }
    return readings;
}

std::string AdjustmentChoice(const SAdjustmentInfo& info, const std::vector<std::string>& words) {
    return info.form == AdjustmentForm::Percent ? "0 to " + std::to_string(HighestPercent)
                                                : Join(Values(info, words), ", ");
}

std::optional<std::string> AdjustmentArgument(const SAdjustmentInfo& info,
                                              const std::vector<std::string>& words,
                                              const std::string& value) {
    if (info.form == AdjustmentForm::Percent) {
        const std::optional<int> percent = NumberOf(value);
        return percent && *percent >= 0 && *percent <= HighestPercent ? std::optional<std::string>(value)
                                                                      : std::nullopt;
    }
    const std::vector<std::string> values = Values(info, words);
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end())
        return std::nullopt;
    if (info.form == AdjustmentForm::Word)
        return std::to_string(found - values.begin() + 1);
    return value == On ? "1" : "0";
}

} // namespace corvane::vornhost
