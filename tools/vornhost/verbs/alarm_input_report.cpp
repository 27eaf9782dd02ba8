#include "tools/vornhost/verbs/alarm_input_report.h"

#include "host/camera.h"

namespace corvane::vornhost {
namespace {

using nlohmann::ordered_json;

constexpr const char* NormallyOpen = "no";
constexpr const char* NormallyClosed = "nc";

// The settings' keys of the first input have no number.
std::string KeyOf(const char* key, int input) {
    return key + (input == 0 ? "" : std::to_string(input + 1));
}

ordered_json ContactValue(const std::string& mode) {
    if (mode.empty())
        return nullptr;
    return mode == NormallyOpen ? "normally open" : mode == NormallyClosed ? "normally closed" : mode;
}

// As the camera object answers it: "LOW" too where the camera does not say.
const char* ActiveLevel(const std::string& mode) {
    return mode.empty() || mode == NormallyOpen ? vorn_camera_base::v1_0::ActiveLow
                                                : vorn_camera_base::v1_0::ActiveHigh;
}

ordered_json AlarmValue(const std::string& setting) {
    return setting.empty() ? ordered_json() : ordered_json(setting == "1");
}

ordered_json LevelValue(const std::map<int, std::string>& levels, int input) {
    const auto level = levels.find(input);
    return level == levels.end() ? ordered_json() : ordered_json(level->second);
}

// The camera object calls an input active whose level is high, whatever its contact.
ordered_json StateValue(const ordered_json& level) {
    if (level.is_null())
        return nullptr;
    const bool isHigh = level.get_ref<const std::string&>().find("High") != std::string::npos;
    return isHigh ? "active" : "inactive";
}

} // namespace

SReportSection AlarmInputSection(int count, const std::map<int, std::string>& levels,
                                 const std::function<std::string(const std::string& key)>& read) {
    SReportSection section{"/alarmInputs", "Alarm inputs", {}, {}};
    section.table.columns = {{"input", "INPUT"}, {"terminal", "TERMINAL"},     {"contact", "CONTACT"},
                             {"mode", "MODE"},   {"alarmEnabled", "ALARM ON"}, {"level", "LEVEL NOW"},
                             {"state", "STATE"}};
    for (int input = 0; input < count; ++input) {
        const std::string mode = read(KeyOf("AINMODE", input));
        const ordered_json level = LevelValue(levels, input);
        section.table.rows.push_back({input, input + 1, ContactValue(mode), ActiveLevel(mode),
                                      AlarmValue(read(KeyOf("ATRMIN", input))), level, StateValue(level)});
    }
    return section;
}

} // namespace corvane::vornhost
