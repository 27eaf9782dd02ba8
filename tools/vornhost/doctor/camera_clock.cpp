#include "tools/vornhost/doctor/camera_clock.h"

#include "site/base/terminal_text.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>

namespace corvane::vornhost {
namespace {

constexpr double MostAway = 60;
constexpr double MostSpread = 10;

// "Thu, 26 Nov 2026 06:37:35 GMT" as seconds since 1970.
std::optional<std::time_t> TimeOf(const std::string& date) {
    std::tm parts{};
    std::istringstream text(date);
    text.imbue(std::locale::classic());
    text >> std::get_time(&parts, "%a, %d %b %Y %H:%M:%S");
    return text ? std::optional(timegm(&parts)) : std::nullopt;
}

std::string AwayText(double seconds) {
    return SecondsText(std::abs(seconds)) + (seconds < 0 ? " behind" : " ahead");
}

} // namespace

bool SCameraClock::leaps() const {
    return most - least > MostSpread;
}

bool SCameraClock::isWrong() const {
    return leaps() || std::max(std::abs(least), std::abs(most)) > MostAway;
}

std::string SCameraClock::text() const {
    return leaps() ? AwayText(least) + " to " + AwayText(most) : AwayText(most);
}

std::optional<std::string> UnreadableDate(const std::vector<SWatchedExchange>& exchanges) {
    for (const SWatchedExchange& exchange : exchanges)
        if (!exchange.date.empty() && !TimeOf(exchange.date))
            return exchange.date;
    return std::nullopt;
}

std::optional<SCameraClock> ClockOf(const std::vector<SWatchedExchange>& exchanges) {
    std::optional<SCameraClock> clock;
    for (const SWatchedExchange& exchange : exchanges) {
        const auto told = TimeOf(exchange.date);
        if (!told)
            continue;
        const std::chrono::duration<double> here = exchange.dateCame.time_since_epoch();
        const double away = static_cast<double>(*told) - here.count();
        if (!clock)
            clock = SCameraClock{away, away};
        clock->least = std::min(clock->least, away);
        clock->most = std::max(clock->most, away);
    }
    return clock;
}

} // namespace corvane::vornhost
