#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace corvane::operations {

// The number that the whole text is in decimal, with "-" where the type has a sign; nothing for any other
// text, and for what is out of the type's range.
template <class Number>
std::optional<Number> ReadWholeNumber(std::string_view text) {
    Number number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || stop != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace corvane::operations
