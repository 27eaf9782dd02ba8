#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace camsim {

// The whole text as a decimal number, or none when it is anything else or does not fit.
template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace camsim
