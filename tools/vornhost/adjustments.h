#pragma once

#include "host/operations.h"

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
    bool isOfLens;
};

// Of picture and lens, in the order in which they are told.
const std::vector<SAdjustmentInfo>& Adjustments();
// Null when there is none of the name.
const SAdjustmentInfo* FindAdjustment(const std::string& name);

// One adjustment of a camera as it stands, its values as a person writes them.
struct SAdjustmentReading {
    const SAdjustmentInfo* info;
    std::string current;             // empty where the camera cannot tell
    std::string byDefault;           // likewise
    std::vector<std::string> values; // all that it may be; empty for a percentage, and where it cannot be set
    std::optional<device_handler::v1_0::CError> failure; // why it could not be read; then the rest is empty
};

// Asks the camera one thing; nothing when it cannot be asked at all.
using AskCamera = std::function<std::optional<device_handler::v1_0::SAnswer>(
    const std::string& operation, const std::vector<std::string>& arguments)>;

// What a video input, from 0, offers of them, in that order; `words` are the model's white balances.
std::vector<SAdjustmentReading> ReadAdjustments(const AskCamera& ask, int input,
                                                const std::vector<std::string>& words);
// One of them; nothing when the camera does not have it.
std::optional<SAdjustmentReading> ReadAdjustment(const SAdjustmentInfo& info, const AskCamera& ask, int input,
                                                 const std::vector<std::string>& words);

// What to type for the adjustment, for a message: "0 to 100".
std::string AdjustmentChoice(const SAdjustmentInfo& info, const std::vector<std::string>& words);
// A person's value as the setting operation takes it; nothing for one that the adjustment cannot have.
std::optional<std::string> AdjustmentArgument(const SAdjustmentInfo& info,
                                              const std::vector<std::string>& words,
                                              const std::string& value);

} // namespace corvane::vornhost
