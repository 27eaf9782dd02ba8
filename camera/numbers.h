#pragma once

#include "host/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

namespace corvane::panasonic_camera {

inline std::string_view WithoutLeadingBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    return text;
}

// Reads as a stream's extraction does: blanks skipped, a sign, up to the first character that is no digit; 0
// where there is no number, the nearest representable number for one that is too large, and a negative number
// without a sign counted down from the largest.
template <class Number>
Number ReadNumber(std::string_view text) {
    text = WithoutLeadingBlanks(text);
    const bool isNegative = text.substr(0, 1) == "-";
    if (isNegative || text.substr(0, 1) == "+")
        text.remove_prefix(1);
    unsigned long long magnitude = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), magnitude).ec ==
        std::errc::result_out_of_range)
        magnitude = std::numeric_limits<unsigned long long>::max();

    using Limits = std::numeric_limits<Number>;
    const bool isBelowZero = Limits::is_signed && isNegative;
    if (magnitude > static_cast<unsigned long long>(Limits::max()) + (isBelowZero ? 1 : 0))
        return isBelowZero ? Limits::min() : Limits::max();
    return static_cast<Number>(isNegative ? 0 - magnitude : magnitude);
}

// Reads a text that is a decimal number, perhaps with a sign, and nothing else; nothing for any other text,
// and for a number that is out of the type's range.
template <class Number>
device_handler::v1_0::COptional<Number> ParseNumber(std::string_view text) {
    if (text.size() > 1 && text.front() == '+' && text[1] != '-')
        text.remove_prefix(1);
    Number number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        return {};
    if constexpr (std::numeric_limits<Number>::has_infinity)
        if (!std::isfinite(number))
            return {};
    return number;
}

// The number that an entry of a capability's list is.
inline device_handler::v1_0::COptional<double> ReadListNumber(std::string_view entry) {
    return ParseNumber<double>(WithoutLeadingBlanks(entry));
}

// In decimal with up to six digits that count, as a stream writes it, whatever the process's locale.
inline std::string NumberText(double number) {
    constexpr int SignificantDigits = 6;
    char text[32];
    const auto end =
        std::to_chars(text, text + sizeof text, number, std::chars_format::general, SignificantDigits);
    return {text, end.ptr};
}

} // namespace corvane::panasonic_camera
