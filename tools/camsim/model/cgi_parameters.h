#pragma once

#include "model/camera.h"
#include "model/form.h"

#include <string>
#include <string_view>

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

// Writes each parameter that the camera knows; a number that is none of those on offer becomes the nearest.
// A value that the camera can make nothing of changes nothing. Answers what was written as name=value lines.
std::string ApplyParameters(CCamera& camera, const SSettingsCgi& cgi, const Parameters& parameters);

// Writes, by the same rules, each parameter that is the name of a setting which this camera's model has.
void ApplySettings(CCamera& camera, const Parameters& parameters);

} // namespace camsim
