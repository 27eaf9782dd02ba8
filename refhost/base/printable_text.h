#pragma once

#include "host/api.h"
#include <nlohmann/json_fwd.hpp>

#include <string>

namespace corvane::refhost {

// A character of UTF-8 text, and how many bytes it takes.
struct SCharacter {
    static constexpr char32_t Invalid = 0xFFFFFFFF; // of a byte that is no UTF-8

    char32_t code;
    std::size_t length;
};

// The character that begins at the byte `at`, which must be before the text's end.
VORN_HOST_API SCharacter CharacterAt(const std::string& text, std::size_t at);

// Text from a device made fit for a terminal: bytes that are no UTF-8, control characters and characters that
// change the writing direction become U+FFFD.
VORN_HOST_API std::string PrintableText(const std::string& text);

// The value on one line, with its members in order. Such characters are escaped, bytes that are no UTF-8
// become U+FFFD.
VORN_HOST_API std::string JsonText(const nlohmann::ordered_json& value);

} // namespace corvane::refhost
