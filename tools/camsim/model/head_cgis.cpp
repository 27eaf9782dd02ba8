#include "model/head_cgis.h"

#include "model/numbers.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace camsim {
namespace {

using Time = CameraHead::Time;
/// What a request does to the head.
using Command = void (*)(CameraHead&, Time, const CameraModel&, const Parameters&);

std::optional<int> number(const Parameters& parameters, std::string_view name) {
    return parseNumber<int>(parameterValue(parameters, name));
}

void driveTo(CameraHead& head, Time now, const CameraModel& model, const Parameters& parameters) {
    for (const auto& [name, axis] : model.axes)
        if (const std::optional<int> position = number(parameters, name))
            head.drive(name, *position, now);
}

/// Axes whose speed is counted in fine steps are told so by another name.
std::string speedParameter(const CameraModel& model, const std::string& axis) {
    const bool fine = model.hasFineSpeeds() && (axis == "pan" || axis == "tilt" || axis == "zoom");
    return fine ? "r" + axis : axis;
}

/// A positive speed of the tilt is down.
void moveOn(CameraHead& head, Time now, const CameraModel& model, const Parameters& parameters) {
    for (const auto& [name, axis] : model.axes)
        if (const std::optional<int> speed = number(parameters, speedParameter(model, name)))
            head.run(name, static_cast<double>(*speed) / axis.speedSteps * (name == "tilt" ? -1 : 1), now);
}

/// Steps of five fifths of a tenth of the range; here the tilt's positive direction is up.
void stepOrCall(CameraHead& head, Time now, const CameraModel& model, const Parameters& parameters) {
    constexpr int largestStep = 5;
    constexpr double range = 0.1;
    if (const std::optional<int> preset = number(parameters, "preset"))
        head.callPreset(*preset, now);
    for (const auto& [name, axis] : model.axes) {
        const std::optional<int> step = number(parameters, name);
        if (step && *step != 0)
            head.step(name, range * std::clamp(*step, -largestStep, largestStep) / largestStep, now);
    }
    if (parameterValue(parameters, "af") == "on")
        head.focusByItself(now);
}

void keepOrForget(CameraHead& head, Time now, const CameraModel&, const Parameters& parameters) {
    if (const std::optional<int> preset = number(parameters, "presetset"))
        head.keepPreset(*preset, now);
    if (const std::optional<int> preset = number(parameters, "presetdel"))
        head.forgetPreset(*preset);
}

void patrol(CameraHead& head, Time now, const CameraModel&, const Parameters& parameters) {
    if (const std::optional<int> patrol = number(parameters, "recstart"))
        head.recordPatrol(*patrol, now);
    if (const std::optional<int> patrol = number(parameters, "stop"))
        head.stopPatrol(*patrol, now);
    if (const std::optional<int> patrol = number(parameters, "play"))
        head.playPatrol(*patrol, now);
}

/// Whether the camera can do something of what the request asks for, or has at least such a CGI.
using Ability = bool (*)(const CameraModel&, const Parameters&);

/// Only a head that turns has presets and patrols.
bool turns(const CameraModel& model, const Parameters&) {
    return model.axis("pan") != nullptr || model.axis("tilt") != nullptr;
}

/// What moves which axis, by any of the CGIs.
constexpr std::pair<std::string_view, std::string_view> movers[] = {
    {"pan", "pan"},   {"rpan", "pan"},   {"tilt", "tilt"},   {"rtilt", "tilt"},
    {"zoom", "zoom"}, {"rzoom", "zoom"}, {"focus", "focus"}, {"iris", "iris"},
    {"af", "focus"},  {"preset", "pan"}, {"preset", "tilt"},
};

/// An axis that the camera lacks is passed over where the request names another that it has: a head without a
/// zoom is told the zoom's speed with every move.
bool moves(const CameraModel& model, const Parameters& parameters) {
    bool asked = false;
    for (const auto& [parameter, axis] : movers)
        if (!parameterValue(parameters, parameter).empty()) {
            if (model.axis(axis) != nullptr)
                return true;
            asked = true;
        }
    return !asked && !model.axes.empty();
}

template <Command command, Ability can>
CgiReply commandHead(Camera& camera, const CgiRequest& request) {
    if (!can(camera.model(), request.parameters))
        return noSuchCgi();
    camera.commandHead(
        [&](CameraHead& head, Time now) { command(head, now, camera.model(), request.parameters); });
    return {200, ""};
}

CgiReply tellPlace(Camera& camera, const CgiRequest&) {
    if (camera.model().axes.empty())
        return noSuchCgi();
    const HeadPlace place = camera.headPlace();
    std::string text = "\r\n"; // before the first key, as real cameras have it
    for (const auto& [name, axis] : camera.model().axes) {
        std::string key = name;
        std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::toupper(c); });
        text += key + "=" + std::to_string(std::lround(place.at(name))) + "\r\n";
    }
    return {200, text};
}

constexpr std::pair<std::string_view, CgiAnswer> cgis[] = {
    {"/cgi-bin/absget", tellPlace},
    {"/cgi-bin/absctrl", commandHead<driveTo, moves>},
    {"/cgi-bin/camctrl", commandHead<stepOrCall, moves>},
    {"/cgi-bin/directctrl", commandHead<moveOn, moves>},
    {"/cgi-bin/camposiset", commandHead<keepOrForget, turns>},
    {"/cgi-bin/set_patrol", commandHead<patrol, turns>},
};

} // namespace

CgiAnswer findHeadCgi(std::string_view path) {
    for (const auto& [known, answer] : cgis)
        if (known == path)
            return answer;
    return nullptr;
}

} // namespace camsim
