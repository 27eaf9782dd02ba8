#include "site/base/utc_time.h"

#include <cstdio>
#include <ctime>

namespace corvane::site {

std::string UtcTimeText(std::chrono::system_clock::time_point time) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(time);
    const auto rest = std::chrono::floor<std::chrono::milliseconds>(time - whole);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char date[32];
    (void)std::strftime(date, sizeof date, "%FT%T", &parts);
    char text[48];
    (void)std::snprintf(text, sizeof text, "%s.%03dZ", date, static_cast<int>(rest.count()));
    return text;
}

} // namespace corvane::site
