#include "model/alarm_inputs.h"

#include "model/numbers.h"

namespace camsim {
namespace {

constexpr const char* LowName = "Low";
constexpr const char* HighName = "High";

} // namespace

CAlarmInputs::CAlarmInputs(const SCameraModel& model) {
    const auto number = model.capability.list("video_server.peripheral.io.number");
    const int count = number && !number->empty() ? ParseNumber<int>(number->front()).value_or(0) : 0;
    for (int terminal = 1; terminal <= count; ++terminal)
        levels_[terminal] = Level::High;
}

CAlarmInputs::Levels CAlarmInputs::set(const Levels& levels) {
    Levels changes;
    for (const auto& [terminal, level] : levels)
        if (levels_.at(terminal) != level)
            changes[terminal] = level;
    for (const auto& [terminal, level] : changes)
        levels_[terminal] = level;
    return changes;
}

std::string CAlarmInputs::name(Level level) {
    return level == Level::Low ? LowName : HighName;
}

std::optional<CAlarmInputs::Level> CAlarmInputs::parse(const std::string& name) {
    for (const Level level : {Level::Low, Level::High})
        if (CAlarmInputs::name(level) == name)
            return level;
    return std::nullopt;
}

std::string CAlarmInputs::report() const {
    std::string text;
    for (const auto& [terminal, level] : levels_)
        text += "terminal " + std::to_string(terminal) + ": " + name(level) + "\r\n";
    return text;
}

std::string CAlarmInputs::monitorReport(const Levels& levels) {
    std::string text;
    for (const auto& [terminal, level] : levels)
        text += "terminal" + std::to_string(terminal) + " I " + name(level) + "\r\n";
    return text;
}

} // namespace camsim
