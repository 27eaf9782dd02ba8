#pragma once

#include "host/model_info.h"
#include "operations/operations.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// How a person writes an adjustment's value: 0 to 100, one of the model's words, or "on" and "off"; an action
// is only ever "on".
enum class AdjustmentForm { Percent, Word, Switch, Action };

struct SAdjustmentInfo {
    const char* name; // for the user to type
    const char* label;
    const char* operation; // behind "get" and "set"
    AdjustmentForm form;
    // Whether the model has it, of those that the camera does not list itself; these are the lens's.
    bool (*isOfModel)(const device_handler::v1_0::SModelInfo& model);
    const char* fixedBy; // what takes the choice away from who would set it; null: nothing
};

// Of picture and lens, in the order in which they are told.
const std::vector<SAdjustmentInfo>& Adjustments();
std::vector<std::string> AdjustmentNames();
// Null when there is none of the name.
const SAdjustmentInfo* FindAdjustment(const std::string& name);
// The one that tells what another has done: auto focus is told by the focus.
const SAdjustmentInfo& TellingAdjustment(const SAdjustmentInfo& info);

// One adjustment of a camera as it stands, its values as a person writes them.
struct SAdjustmentReading {
    const SAdjustmentInfo* info;
    std::string current;             // empty where the camera cannot tell
    std::string byDefault;           // likewise
    std::vector<std::string> values; // all that it may be; empty for a percentage, and where it is fixed
    std::optional<device_handler::v1_0::CError> failure; // why it could not be read; then the rest is empty

    bool isFixed() const { return !failure && values.empty() && info->form != AdjustmentForm::Percent; }
};

// Asks the camera one thing; nothing when it cannot be asked at all.
using AskCamera = std::function<std::optional<device_handler::v1_0::SAnswer>(
    const std::string& operation, const std::vector<std::string>& arguments)>;

// What one video input, from 0, of a camera of the model offers.
class CAdjustments {
public:
    // The model must outlive it.
    CAdjustments(AskCamera ask, const device_handler::v1_0::SModelInfo& model, int input);

    // Asks which there are; an error leaves none.
    device_handler::v1_0::CError learn();
    bool has(const SAdjustmentInfo& info) const;
    // In the order of Adjustments().
    std::vector<SAdjustmentReading> readAll() const;
    SAdjustmentReading read(const SAdjustmentInfo& info) const;

private:
    AskCamera ask_;
    const device_handler::v1_0::SModelInfo& model_;
    const int input_;
    std::vector<const SAdjustmentInfo*> offered_;
};

// What to type for the adjustment, for a message: "0 to 100".
std::string AdjustmentChoice(const SAdjustmentInfo& info, const device_handler::v1_0::SModelInfo& model);
// All that may be typed; nothing for a percentage.
std::vector<std::string> AdjustmentValues(const SAdjustmentInfo& info,
                                          const device_handler::v1_0::SModelInfo& model);
// A person's value as the setting operation takes it; nothing for one that the adjustment cannot have.
std::optional<std::string> AdjustmentArgument(const SAdjustmentInfo& info,
                                              const device_handler::v1_0::SModelInfo& model,
                                              const std::string& value);

} // namespace corvane::vornhost
