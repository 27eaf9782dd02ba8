#include "refhost/base/printable_text.h"

#include <glib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace corvane::refhost {
namespace {

constexpr const char* Replacement = "\xEF\xBF\xBD";

// All of 16 bits.
constexpr struct {
    char32_t first, last;
} Unprintable[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200E, 0x200F},
    {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFFF9, 0xFFFB},
};

bool IsPrintable(char32_t code) {
    return code != SCharacter::Invalid &&
           std::none_of(std::begin(Unprintable), std::end(Unprintable),
                        [code](const auto& range) { return range.first <= code && code <= range.last; });
}

std::string JsonEscape(char32_t code) {
    constexpr const char* Digits = "0123456789abcdef";
    std::string text = "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += Digits[code >> shift & 0xF];
    return text;
}

// Where the first character is that is not printable.
std::size_t FirstUnprintable(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const SCharacter character = CharacterAt(text, at);
        if (!IsPrintable(character.code))
            return at;
        at += character.length;
    }
    return text.size();
}

// With `replace(code)` for each character that is not printable. A text without any is not copied.
template <class Replace>
std::string WithoutUnprintable(std::string text, Replace replace) {
    const std::size_t first = FirstUnprintable(text);
    if (first == text.size())
        return text;
    std::string printable = text.substr(0, first);
    for (std::size_t at = first; at < text.size();) {
        const SCharacter character = CharacterAt(text, at);
        if (IsPrintable(character.code))
            printable.append(text, at, character.length);
        else
            printable += replace(character.code);
        at += character.length;
    }
    return printable;
}

} // namespace

SCharacter CharacterAt(const std::string& text, std::size_t at) {
    const gunichar code = g_utf8_get_char_validated(text.data() + at, static_cast<gssize>(text.size() - at));
    if (g_unichar_validate(code) == FALSE)
        return {SCharacter::Invalid, 1};
    return {code, static_cast<std::size_t>(g_unichar_to_utf8(code, nullptr))};
}

std::string PrintableText(const std::string& text) {
    return WithoutUnprintable(text, [](char32_t) { return Replacement; });
}

std::string JsonText(const nlohmann::ordered_json& value) {
    return WithoutUnprintable(value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace),
                              JsonEscape);
}

} // namespace corvane::refhost
