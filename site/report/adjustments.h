#pragma once

#include "site/base/names.h"
#include "site/diagnosis/diagnosis.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// How a person writes an adjustment's value: 0 to 100, one of the model's words, or "on" and "off"; an action
// is only ever "on".
enum class AdjustmentForm { Percent, Word, Switch, Action };

struct SAdjustmentInfo {
    const char* name;      // for the user to type
    const char* operation; // behind "get" and "set"
    AdjustmentForm form;
    // Of an adjustment of the lens, which the camera does not list itself: whether the model has it. Null for
    // the picture's.
    bool (*isOfModel)(const SModelInfo& model);
    const char* fixedBy; // what takes the choice away from who would set it
    // How many percent a unit of the camera's is, rounded up; 0 where it has none.
    int (*unitOf)(const SModelInfo& model);
};

// All adjustments of picture and lens, in the order in which they are shown.
const std::vector<SAdjustmentInfo>& Adjustments();
Texts AdjustmentNames();
// Null when there is none of the name.
const SAdjustmentInfo* FindAdjustment(const std::string& name);
// The adjustment whose value shows what setting this one did: the focus for auto focus, else itself.
const SAdjustmentInfo& TellingAdjustment(const SAdjustmentInfo& info);

// One adjustment of a camera as it stands, its values as a person writes them.
struct SAdjustmentReading {
    const SAdjustmentInfo* info;
    std::string current;           // empty where the camera cannot tell
    std::string byDefault;         // likewise
    Texts values;                  // all that it may be; empty for a percentage, and where it is fixed
    std::optional<CError> failure; // why it could not be read; then the rest is empty

    bool isFixed() const { return !failure && values.empty() && info->form != AdjustmentForm::Percent; }
};

// What programs are told of it, in every output: a number for a percentage, null for what the camera cannot
// tell. The current value of one that could not be read is the error.
ordered_json CurrentValue(const SAdjustmentReading& reading);
ordered_json DefaultValue(const SAdjustmentReading& reading);
// {"from","to","step"}, a list, or {"fixedBy"}.
ordered_json RangeValue(const SAdjustmentReading& reading);

// {"current"?,"default"?,"range"}, or the error members of one that could not be read.
ordered_json ReadingJson(const SAdjustmentReading& reading);

// Calls an operation of the camera; nothing when the call cannot be made.
using AskCamera = std::function<std::optional<SAnswer>(const std::string& operation, const Texts& arguments)>;

// The adjustments of one video input (from 0) of a camera.
class CAdjustments {
public:
    // The model must outlive it.
    CAdjustments(AskCamera ask, const SModelInfo& model, int input);

    // Asks the camera which it has; with an error it has none.
    CError learn();
    bool has(const SAdjustmentInfo& info) const;
    // In the order of Adjustments().
    std::vector<SAdjustmentReading> readAll() const;
    SAdjustmentReading read(const SAdjustmentInfo& info) const;
    // Once it no longer changes: a lens takes its time.
    SAdjustmentReading readSettled(const SAdjustmentInfo& info) const;

    // Sets it; `value` as a person writes it. The camera's answer says nothing of what it then has.
    std::optional<SAnswer> set(const SAdjustmentInfo& info, const std::string& value) const;

private:
    AskCamera ask_;
    const SModelInfo& model_;
    const int input_;
    std::vector<const SAdjustmentInfo*> offered_;
};

// What may be typed for the adjustment, in words: "0 to 100", "off, on".
std::string AdjustmentChoice(const SAdjustmentInfo& info, const SModelInfo& model);
// The same as a list; empty for a percentage.
Texts AdjustmentValues(const SAdjustmentInfo& info, const SModelInfo& model);
// What was typed as the "set" operation takes it; nothing for a value that the adjustment cannot have.
std::optional<std::string> AdjustmentArgument(const SAdjustmentInfo& info, const SModelInfo& model,
                                              const std::string& value);

// Whether what is reported may be what was asked for: percentages are rounded to the camera's own units.
bool IsSameAdjustment(const SAdjustmentInfo& info, const SModelInfo& model, const std::string& asked,
                      const std::string& reported);

// Why the camera is not asked for an adjustment that it does not have.
SDiagnosis AdjustmentMissing(const SAdjustmentInfo& info, const std::string& value);

} // namespace corvane::site
