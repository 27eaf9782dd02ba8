#include "tools/vornhost/verbs/adjustments.h"

#include "operations/whole_number.h"
#include "tools/vornhost/console/terminal_text.h"

#include <algorithm>
#include <utility>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::SAnswer;
using device_handler::v1_0::SModelInfo;

constexpr int HighestPercent = 100;
constexpr const char* On = "on";
constexpr const char* Off = "off";
constexpr const char* FocusName = "focus";

// The plug-in's value as a person writes it.
std::string Shown(const SAdjustmentInfo& info, const SModelInfo& model, const std::string& value) {
    if (info.form == AdjustmentForm::Percent)
        return value;
    if (info.form != AdjustmentForm::Word)
        return value == "1" ? On : Off;
    const std::vector<std::string>& words = model.whiteBalance.values;
    const auto position = operations::ReadWholeNumber<int>(value);
    return position && *position >= 1 && static_cast<std::size_t>(*position) <= words.size()
               ? words[static_cast<std::size_t>(*position - 1)]
               : value;
}

bool HasFocus(const SModelInfo& model) {
    return !model.focus.range.empty();
}
bool HasDynamicRange(const SModelInfo& model) {
    return !model.dynamicRange.empty();
}

} // namespace

const std::vector<SAdjustmentInfo>& Adjustments() {
    using Form = AdjustmentForm;
    static const std::vector<SAdjustmentInfo> adjustments = {
        {"brightness", "brightness", "VpaBrightness", Form::Percent, nullptr, nullptr},
        {"sharpness", "sharpness", "VpaSharpness", Form::Percent, nullptr, nullptr},
        {"saturation", "saturation", "VpaSaturation", Form::Percent, nullptr, nullptr},
        {"whiteBalance", "white balance", "VpaWhiteBalance", Form::Word, nullptr, nullptr},
        {"backLight", "back-light compensation", "VpaBackLightComp", Form::Switch, nullptr, "super dynamic"},
        {FocusName, "focus", "LensFocus", Form::Percent, HasFocus, nullptr},
        {"autoFocus", "auto focus", "LensAutoFocus", Form::Action, HasFocus, nullptr},
        {"wideDynamicRange", "wide dynamic range", "LensWdr", Form::Switch, HasDynamicRange,
         "size or exposure"},
    };
    return adjustments;
}

std::vector<std::string> AdjustmentNames() {
    std::vector<std::string> names;
    for (const SAdjustmentInfo& info : Adjustments())
        names.emplace_back(info.name);
    return names;
}

const SAdjustmentInfo* FindAdjustment(const std::string& name) {
    const auto found = std::find_if(Adjustments().begin(), Adjustments().end(),
                                    [&name](const SAdjustmentInfo& info) { return name == info.name; });
    return found == Adjustments().end() ? nullptr : &*found;
}

const SAdjustmentInfo& TellingAdjustment(const SAdjustmentInfo& info) {
    const SAdjustmentInfo* const focus = FindAdjustment(FocusName);
    return info.form == AdjustmentForm::Action && focus ? *focus : info;
}

CAdjustments::CAdjustments(AskCamera ask, const SModelInfo& model, int input)
    : ask_(std::move(ask)), model_(model), input_(input) {}

CError CAdjustments::learn() {
    offered_.clear();
    const std::optional<SAnswer> listed = ask_("getVpaProperties", {std::to_string(input_)});
    if (!listed)
        return CError::Success();
    if (listed->error && *listed->error)
        return *listed->error;
    for (const SAdjustmentInfo& info : Adjustments()) {
        const bool isListed =
            std::find(listed->values.begin(), listed->values.end(), info.operation) != listed->values.end();
        if (info.isOfModel ? info.isOfModel(model_) : isListed)
            offered_.push_back(&info);
    }
    return CError::Success();
}

bool CAdjustments::has(const SAdjustmentInfo& info) const {
    return std::find(offered_.begin(), offered_.end(), &info) != offered_.end();
}

std::vector<SAdjustmentReading> CAdjustments::readAll() const {
    std::vector<SAdjustmentReading> readings;
    for (const SAdjustmentInfo* info : offered_)
        readings.push_back(read(*info));
    return readings;
}

SAdjustmentReading CAdjustments::read(const SAdjustmentInfo& info) const {
    SAdjustmentReading reading{&info, "", "", {}, std::nullopt};
    const std::optional<SAnswer> answer = ask_(std::string("get") + info.operation, {std::to_string(input_)});
    if (!answer)
        return reading;
    if (answer->error && *answer->error) {
        reading.failure = *answer->error;
        return reading;
    }
    const bool isAction = info.form == AdjustmentForm::Action; // which has neither a value nor a default
    if (!answer->values.empty() && !isAction)
        reading.current = Shown(info, model_, answer->values[0]);
    if (answer->values.size() > 1) { // a lone value is fixed
        reading.byDefault = isAction ? "" : Shown(info, model_, answer->values[1]);
        reading.values = AdjustmentValues(info, model_);
    }
    return reading;
}

std::vector<std::string> AdjustmentValues(const SAdjustmentInfo& info, const SModelInfo& model) {
    switch (info.form) {
    case AdjustmentForm::Percent:
        return {};
    case AdjustmentForm::Word:
        return model.whiteBalance.values;
    case AdjustmentForm::Switch:
        return {Off, On};
    case AdjustmentForm::Action:
        return {On};
    }
    return {};
}

std::string AdjustmentChoice(const SAdjustmentInfo& info, const SModelInfo& model) {
    return info.form == AdjustmentForm::Percent ? "0 to " + std::to_string(HighestPercent)
                                                : Join(AdjustmentValues(info, model), ", ");
}

std::optional<std::string> AdjustmentArgument(const SAdjustmentInfo& info, const SModelInfo& model,
                                              const std::string& value) {
    if (info.form == AdjustmentForm::Percent) {
        const auto percent = operations::ReadWholeNumber<int>(value);
        return percent && *percent >= 0 && *percent <= HighestPercent ? std::optional<std::string>(value)
                                                                      : std::nullopt;
    }
    const std::vector<std::string> values = AdjustmentValues(info, model);
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end())
        return std::nullopt;
    if (info.form == AdjustmentForm::Word)
        return std::to_string(found - values.begin() + 1);
    return value == On ? "1" : "0";
}

} // namespace corvane::vornhost
