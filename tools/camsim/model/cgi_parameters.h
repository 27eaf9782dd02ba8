#pragma once

#include "model/camera.h"
#include "model/form.h"

#include <string>
#include <string_view>

namespace camsim {

struct ParameterRule;

/// A CGI whose parameters are written into settings.
struct SettingsCgi {
    std::string_view path;
    const ParameterRule* rules;
    size_t ruleCount;
    /// Behind each setting's key and behind the codec in capability keys: those of the codec's second stream.
    std::string_view keySuffix;
    std::string_view capabilitySuffix;
};

/// The CGI of this path, or null when no CGI of that path writes settings.
const SettingsCgi* findSettingsCgi(std::string_view path);

/// Writes each parameter that the camera knows; a number that is none of those on offer becomes the nearest.
/// A value that the camera can make nothing of changes nothing. Answers what was written as name=value lines.
std::string applyParameters(Camera& camera, const SettingsCgi& cgi, const Parameters& parameters);

/// Writes, by the same rules, each parameter that is the name of a setting which this camera's model has.
void applySettings(Camera& camera, const Parameters& parameters);

} // namespace camsim
