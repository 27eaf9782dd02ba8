#pragma once

#include <chrono>
#include <locale>
#include <sstream>
#include <string>

namespace corvane::refhost {

// "4 s", "0.2 s": without zeros behind the point.
inline std::string TimeText(std::chrono::milliseconds time) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << static_cast<double>(time.count()) / 1000 << " s";
    return text.str();
}

} // namespace corvane::refhost
