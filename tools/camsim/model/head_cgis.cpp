#include "model/head_cgis.h"

#include "model/numbers.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace camsim {
namespace {

using Time = CCameraHead::Time;
// What a request does to the head.
using Command = void (*)(CCameraHead&, Time, const SCameraModel&, const Parameters&);

std::optional<int> Number(const Parameters& parameters, std::string_view name) {
    return ParseNumber<int>(ParameterValue(parameters, name));
}

void DriveTo(CCameraHead& head, Time now, const SCameraModel& model, const Parameters& parameters) {
    for (const auto& [name, axis] : model.axes)
        if (const std::optional<int> position = Number(parameters, name))
            head.drive(name, *position, now);
}

// The parameter that carries the axis's speed; finely stepped speeds have names of their own (rpan).
std::string SpeedParameter(const SCameraModel& model, const std::string& axis) {
    const bool fine = model.hasFineSpeeds() && (axis == "pan" || axis == "tilt" || axis == "zoom");
    return fine ? "r" + axis : axis;
}

// With directctrl a positive tilt speed turns down.
void MoveOn(CCameraHead& head, Time now, const SCameraModel& model, const Parameters& parameters) {
    for (const auto& [name, axis] : model.axes)
        if (const std::optional<int> speed = Number(parameters, SpeedParameter(model, name)))
            head.run(name, static_cast<double>(*speed) / axis.speedSteps * (name == "tilt" ? -1 : 1), now);
}

// Steps go from -5 to 5, where 5 is a tenth of the axis's range. With camctrl a positive tilt turns up.
void StepOrCall(CCameraHead& head, Time now, const SCameraModel& model, const Parameters& parameters) {
    constexpr int LargestStep = 5;
    constexpr double Range = 0.1;
    if (const std::optional<int> preset = Number(parameters, "preset"))
        head.callPreset(*preset, now);
    for (const auto& [name, axis] : model.axes) {
        const std::optional<int> step = Number(parameters, name);
        if (step && *step != 0)
            head.step(name, Range * std::clamp(*step, -LargestStep, LargestStep) / LargestStep, now);
    }
    if (ParameterValue(parameters, "af") == "on")
        head.focusByItself(now);
}

void KeepOrForget(CCameraHead& head, Time now, const SCameraModel&, const Parameters& parameters) {
    if (const std::optional<int> preset = Number(parameters, "presetset"))
        head.keepPreset(*preset, now);
    if (const std::optional<int> preset = Number(parameters, "presetdel"))
        head.forgetPreset(*preset);
}

void Patrol(CCameraHead& head, Time now, const SCameraModel&, const Parameters& parameters) {
    if (const std::optional<int> patrol = Number(parameters, "recstart"))
        head.recordPatrol(*patrol, now);
    if (const std::optional<int> patrol = Number(parameters, "stop"))
        head.stopPatrol(*patrol, now);
    if (const std::optional<int> patrol = Number(parameters, "play"))
        head.playPatrol(*patrol, now);
}

// Whether the camera can do something of what the request asks for, or has at least such a CGI.
using Ability = bool (*)(const SCameraModel&, const Parameters&);

// Only a head that turns has presets and patrols.
bool Turns(const SCameraModel& model, const Parameters&) {
    return model.axis("pan") != nullptr || model.axis("tilt") != nullptr;
}

// What moves which axis, by any of the CGIs.
constexpr std::pair<std::string_view, std::string_view> Movers[] = {
    {"pan", "pan"},   {"rpan", "pan"},   {"tilt", "tilt"},   {"rtilt", "tilt"},
    {"zoom", "zoom"}, {"rzoom", "zoom"}, {"focus", "focus"}, {"iris", "iris"},
    {"af", "focus"},  {"preset", "pan"}, {"preset", "tilt"},
};

// An axis that the camera lacks is passed over where the request names another that it has: a head without a
// zoom is told the zoom's speed with every move.
bool Moves(const SCameraModel& model, const Parameters& parameters) {
    bool asked = false;
    for (const auto& [parameter, axis] : Movers)
        if (!ParameterValue(parameters, parameter).empty()) {
            if (model.axis(axis) != nullptr)
                return true;
            asked = true;
        }
    return !asked && !model.axes.empty();
}

template <Command Do, Ability Can>
SCgiReply CommandHead(CCamera& camera, const SCgiRequest& request) {
    if (!Can(camera.model(), request.parameters))
        return NoSuchCgi();
    camera.commandHead(
        [&](CCameraHead& head, Time now) { Do(head, now, camera.model(), request.parameters); });
    return {200, ""};
}

SCgiReply TellPlace(CCamera& camera, const SCgiRequest&) {
    if (camera.model().axes.empty())
        return NoSuchCgi();
    const HeadPlace place = camera.headPlace();
    std::string text = "\r\n"; // before the first key, as real cameras have it
    for (const auto& [name, axis] : camera.model().axes) {
        std::string key = name;
        std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::toupper(c); });
        text += key + "=" + std::to_string(std::lround(place.at(name))) + "\r\n";
    }
    return {200, text};
}

constexpr std::pair<std::string_view, CgiAnswer> Cgis[] = {
    {"/cgi-bin/absget", TellPlace},
    {"/cgi-bin/absctrl", CommandHead<DriveTo, Moves>},
    {"/cgi-bin/camctrl", CommandHead<StepOrCall, Moves>},
    {"/cgi-bin/directctrl", CommandHead<MoveOn, Moves>},
    {"/cgi-bin/camposiset", CommandHead<KeepOrForget, Turns>},
    {"/cgi-bin/set_patrol", CommandHead<Patrol, Turns>},
};

} // namespace

CgiAnswer FindHeadCgi(std::string_view path) {
    for (const auto& [known, answer] : Cgis)
        if (known == path)
            return answer;
    return nullptr;
}

} // namespace camsim
