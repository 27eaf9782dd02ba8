#include "site/report/adjustments.h"

#include "operations/whole_number.h"
#include "site/base/terminal_text.h"
#include "site/calls/answer_text.h"
#include "site/report/measured.h"
#include "site/report/value_range.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <thread>
#include <utility>

namespace corvane::site {
namespace {

constexpr int HighestPercent = 100;
constexpr const char* On = "on";
constexpr const char* Off = "off";
constexpr const char* FocusName = "focus";
constexpr const char* FixedByCamera = "the camera";
constexpr std::chrono::milliseconds LookAgain(200);
constexpr int LooksAtRest = 3; // without a change: it begins slowly
constexpr std::chrono::seconds LongestMove(15);

// The plug-in's value as a person writes it.
std::string Shown(const SAdjustmentInfo& info, const SModelInfo& model, const std::string& value) {
    if (info.form == AdjustmentForm::Percent)
        return value;
    if (info.form != AdjustmentForm::Word)
        return value == "1" ? On : Off;
    const Texts& words = model.whiteBalance.values;
    const auto position = operations::ReadWholeNumber<int>(value);
    return position && *position >= 1 && static_cast<std::size_t>(*position) <= words.size()
               ? words[static_cast<std::size_t>(*position - 1)]
               : value;
}

AdjustmentForm FormOf(const SAdjustment&) {
    return AdjustmentForm::Percent;
}
AdjustmentForm FormOf(const SWhiteBalanceModel&) {
    return AdjustmentForm::Word;
}
AdjustmentForm FormOf(const SwitchValues&) {
    return AdjustmentForm::Switch;
}
AdjustmentForm FormOf(const SwitchKind&) {
    return AdjustmentForm::Switch;
}

template <class Form>
int UnitOf(const Form&) {
    return 0;
}
int UnitOf(const SAdjustment& adjustment) {
    if (adjustment.range.size() < 2)
        return 0;
    const auto lowest = operations::ReadWholeNumber<int>(adjustment.range[0]);
    const auto highest = operations::ReadWholeNumber<int>(adjustment.range[1]);
    return lowest && highest && *highest > *lowest
               ? (HighestPercent + *highest - *lowest - 1) / (*highest - *lowest)
               : 0;
}

// Where the name is not that of the model list's member, and what takes the choice away.
constexpr struct {
    const char* operation;
    const char* name;
    const char* fixedBy;
} Names[] = {
    {"VpaBackLightComp", "backLight", "super dynamic"},
    {"LensWdr", "wideDynamicRange", "size or exposure"},
};

SAdjustmentInfo Info(const char* member, const char* operation, AdjustmentForm form) {
    for (const auto& row : Names)
        if (std::string(operation) == row.operation)
            return {row.name, operation, form, nullptr, row.fixedBy, nullptr};
    return {member, operation, form, nullptr, FixedByCamera, nullptr};
}

std::vector<SAdjustmentInfo> MakeAdjustments() {
    std::vector<SAdjustmentInfo> all;
#define VORN_ADJUSTMENT(AREA, NAME, FORM, MEMBER, RECORD)                                                    \
    all.push_back(Info(#MEMBER, #AREA #NAME, FormOf(FORM())));                                               \
    all.back().unitOf = [](const SModelInfo& model) { return UnitOf(model.MEMBER); };                        \
    if (std::string(#AREA) == "Lens") /* which the camera does not list itself */                            \
        all.back().isOfModel = [](const SModelInfo& model) { return IsOffered(model.MEMBER); };
#include "host/adjustments.def"
    const auto focus = std::find_if(all.begin(), all.end(),
                                    [](const auto& info) { return info.name == std::string(FocusName); });
    all.insert(std::next(focus), {"autoFocus", "LensAutoFocus", AdjustmentForm::Action, focus->isOfModel,
                                  FixedByCamera, focus->unitOf});
    return all;
}

ordered_json ValueOrNull(const std::string& text) {
    return text.empty() ? ordered_json() : Measured(text);
}

} // namespace

ordered_json CurrentValue(const SAdjustmentReading& reading) {
    return reading.failure ? ErrorMembers(*reading.failure) : ValueOrNull(reading.current);
}

ordered_json DefaultValue(const SAdjustmentReading& reading) {
    return ValueOrNull(reading.byDefault);
}

ordered_json RangeValue(const SAdjustmentReading& reading) {
    if (reading.failure)
        return nullptr;
    if (reading.isFixed())
        return {{"fixedBy", reading.info->fixedBy}};
    if (reading.info->form == AdjustmentForm::Percent)
        return CValueRange::between("0", std::to_string(HighestPercent), "1").toJson();
    return reading.values;
}

const std::vector<SAdjustmentInfo>& Adjustments() {
    static const std::vector<SAdjustmentInfo> adjustments = MakeAdjustments();
    return adjustments;
}

Texts AdjustmentNames() {
    Texts names;
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

SAdjustmentReading CAdjustments::readSettled(const SAdjustmentInfo& info) const {
    SAdjustmentReading last = read(info);
    if (!info.isOfModel || info.form != AdjustmentForm::Percent)
        return last;
    const auto end = std::chrono::steady_clock::now() + LongestMove;
    for (int unchanged = 0;
         unchanged < LooksAtRest && !last.failure && std::chrono::steady_clock::now() < end;) {
        std::this_thread::sleep_for(LookAgain); // the camera does not tell when it has arrived
        SAdjustmentReading now = read(info);
        unchanged = now.current == last.current ? unchanged + 1 : 0;
        last = std::move(now);
    }
    return last;
}

std::optional<SAnswer> CAdjustments::set(const SAdjustmentInfo& info, const std::string& value) const {
    return ask_(std::string("set") + info.operation,
                {std::to_string(input_), AdjustmentArgument(info, model_, value).value_or("")});
}

Texts AdjustmentValues(const SAdjustmentInfo& info, const SModelInfo& model) {
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
    const Texts values = AdjustmentValues(info, model);
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end())
        return std::nullopt;
    if (info.form == AdjustmentForm::Word)
        return std::to_string(found - values.begin() + 1);
    return value == On ? "1" : "0";
}

bool IsSameAdjustment(const SAdjustmentInfo& info, const SModelInfo& model, const std::string& asked,
                      const std::string& reported) {
    const auto wanted = operations::ReadWholeNumber<int>(asked);
    const auto is = operations::ReadWholeNumber<int>(reported);
    return info.form == AdjustmentForm::Percent && wanted && is
               ? std::abs(*wanted - *is) <= info.unitOf(model)
               : asked == reported;
}

SDiagnosis AdjustmentMissing(const SAdjustmentInfo& info, const std::string& value) {
    SDiagnosis problem;
    problem.problem = std::string("the camera has no ") + info.name;
    problem.request = std::string(info.name) + "=" + value + "; nothing was sent";
    problem.reply = "the camera's own list of adjustments has none of the name";
    problem.advice = "see with `vornhost image` which the camera has";
    problem.cause = "not-supported";
    problem.phase = "write";
    return problem;
}

ordered_json ReadingJson(const SAdjustmentReading& reading) {
    if (reading.failure)
        return ErrorMembers(*reading.failure);
    ordered_json json{{"current", CurrentValue(reading)},
                      {"default", DefaultValue(reading)},
                      {"range", RangeValue(reading)}};
    for (const char* name : {"current", "default"})
        if (json.at(name).is_null())
            json.erase(name);
    return json;
}

} // namespace corvane::site
