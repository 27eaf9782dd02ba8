#pragma once

#include <string>
#include <string_view>

namespace camsim {

inline void ReplaceAll(std::string& text, std::string_view placeholder, const std::string& value) {
    for (size_t at = 0; (at = text.find(placeholder, at)) != text.npos; at += value.size())
        text.replace(at, placeholder.size(), value);
}

} // namespace camsim
