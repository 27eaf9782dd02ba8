#include "model/alarm_inputs.h"

#include "model/numbers.h"

namespace camsim {
namespace {

constexpr const char* lowName = "Low";
constexpr const char* highName = "High";

} // namespace

AlarmInputs::AlarmInputs(const CameraModel& model) {
    const auto number = model.capability.list("video_server.peripheral.io.number");
    const int count = number && !number->empty() ? parseNumber<int>(number->front()).value_or(0) : 0;
    for (int terminal = 1; terminal <= count; ++terminal)
        levels_[terminal] = Level::High;
}

AlarmInputs::Levels AlarmInputs::set(const Levels& levels) {
    Levels changes;
    for (const auto& [terminal, level] : levels)
        if (levels_.at(terminal) != level)
            changes[terminal] = level;
    for (const auto& [terminal, level] : changes)
        levels_[terminal] = level;
    return changes;
}

std::string AlarmInputs::name(Level level) {
    return level == Level::Low ? lowName : highName;
}

std::optional<AlarmInputs::Level> AlarmInputs::parse(const std::string& name) {
    for (const Level level : {Level::Low, Level::High})
        if (AlarmInputs::name(level) == name)
            return level;
    return std::nullopt;
}

std::string AlarmInputs::report() const {
    std::string text;
    for (const auto& [terminal, level] : levels_)
        text += "terminal " + std::to_string(terminal) + ": " + name(level) + "\r\n";
    return text;
}

std::string AlarmInputs::monitorReport(const Levels& levels) {
    std::string text;
    for (const auto& [terminal, level] : levels)
        text += "terminal" + std::to_string(terminal) + " I " + name(level) + "\r\n";
    return text;
}

} // namespace camsim
