#pragma once

#include "model/camera.h"
#include "model/form.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace camsim {

struct SParameterRule;

// A CGI whose parameters are written into settings.
struct SSettingsCgi {
    std::string_view path;
    const SParameterRule* rules;
    size_t ruleCount;
    // Behind each setting's key and behind the codec in capability keys: those of the codec's second stream.
    std::string_view keySuffix;
    std::string_view capabilitySuffix;
};

// The CGI of this path, or null when no CGI of that path writes settings.
const SSettingsCgi* FindSettingsCgi(std::string_view path);

// The settings that a request has written, each with what it was before, in order.
using WrittenSettings = std::vector<std::pair<std::string, std::optional<std::string>>>;

// Writes each parameter that the camera knows; a number that is none of those on offer becomes the nearest.
// A value that the camera can make nothing of changes nothing. Answers what was written as name=value lines,
// and adds it to `written`.
std::string ApplyParameters(CCamera& camera, const SSettingsCgi& cgi, const Parameters& parameters,
                            WrittenSettings& written);

// Writes, by the same rules, each parameter that is the name of a setting which this camera's model has.
void ApplySettings(CCamera& camera, const Parameters& parameters, WrittenSettings& written);

} // namespace camsim
