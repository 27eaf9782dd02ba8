#include "http/misbehaviour.h"

#include "model/numbers.h"

#include <cstdio>
#include <ctime>

namespace camsim {
namespace {

// Whatever the setting takes, this is not what was written.
std::string OtherThan(const std::string& value) {
    const std::optional<int> number = ParseNumber<int>(value);
    if (!number)
        return value + "_";
    return std::to_string(*number > 0 ? *number - 1 : *number + 1);
}

} // namespace

std::string DateOf(const SFault& clock, std::chrono::system_clock::time_point now) {
    if (clock.body)
        return *clock.body;
    constexpr const char* Days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    constexpr const char* Months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t told = std::chrono::system_clock::to_time_t(now) + clock.seconds.value_or(0);
    std::tm parts{};
    gmtime_r(&told, &parts);
    char text[64]; // not by strftime, whose names are the locale's
    std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT", Days[parts.tm_wday],
                  parts.tm_mday, Months[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour, parts.tm_min,
                  parts.tm_sec);
    return text;
}

void Spoil(CCamera& camera, const WrittenSettings& written, FaultKind kind) {
    for (auto setting = written.rbegin(); setting != written.rend(); ++setting) {
        const auto& [key, before] = *setting;
        const std::string now = camera.setting(key).value_or("");
        camera.putSetting(key, kind == FaultKind::Revert ? before : OtherThan(now));
    }
}

CCamera& CStandIns::of(const CCamera& camera, const std::string& model) {
    std::unique_ptr<CCamera>& standIn = cameras_[{camera.index(), model}];
    if (!standIn)
        standIn = std::make_unique<CCamera>(others_ + camera.index(), LoadEmbeddedModel(model));
    return *standIn;
}

} // namespace camsim
