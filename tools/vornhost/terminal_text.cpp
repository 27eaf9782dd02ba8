#include "tools/vornhost/terminal_text.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace corvane::vornhost {
namespace {

constexpr char32_t Invalid = 0xFFFFFFFF;
constexpr const char* Replacement = "\xEF\xBF\xBD";

struct SCharacter {
    char32_t code;
    std::size_t length; // bytes
};

struct SCodeRange {
    char32_t first, last;
};

constexpr SCodeRange Unprintable[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200E, 0x200F},
    {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFFF9, 0xFFFB},
};

bool IsPrintable(char32_t code) {
    return code != Invalid &&
           std::none_of(std::begin(Unprintable), std::end(Unprintable), [code](const SCodeRange& range) {
               return range.first <= code && code <= range.last;
           });
}

SCharacter Decode(const std::string& text, std::size_t at) {
    const gunichar code = g_utf8_get_char_validated(text.data() + at, static_cast<gssize>(text.size() - at));
    if (g_unichar_validate(code) == FALSE)
        return {Invalid, 1};
    return {code, static_cast<std::size_t>(g_unichar_to_utf8(code, nullptr))};
}

std::size_t WidthOf(char32_t code) {
    if (g_unichar_iszerowidth(code) != FALSE)
        return 0;
    return g_unichar_iswide(code) != FALSE ? 2 : 1;
}

// Where what fits of the text from `start` on ends; at least one character further.
std::size_t EndOfFitting(const std::string& text, std::size_t start, std::size_t width) {
    std::size_t used = 0;
    std::size_t at = start;
    while (at < text.size()) {
        const SCharacter character = Decode(text, at);
        used += WidthOf(character.code);
        if (used > width && at > start)
            break;
        at += character.length;
    }
    return at;
}

} // namespace

std::string PrintableText(const std::string& text) {
    std::string printable;
    for (std::size_t at = 0; at < text.size();) {
        const SCharacter character = Decode(text, at);
        if (IsPrintable(character.code))
            printable.append(text, at, character.length);
        else
            printable += Replacement;
        at += character.length;
    }
    return printable;
}

std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const SCharacter character = Decode(text, at);
        width += WidthOf(character.code);
        at += character.length;
    }
    return width;
}

std::string PadTo(const std::string& text, std::size_t width) {
    const std::size_t taken = DisplayWidth(text);
    return taken < width ? text + std::string(width - taken, ' ') : text;
}

std::vector<std::string> Wrap(const std::string& text, std::size_t width) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < text.size() || lines.empty();) {
        std::size_t end = EndOfFitting(text, start, width);
        std::size_t next = end;
        const std::size_t blank = end < text.size() ? text.rfind(' ', end) : std::string::npos;
        if (blank != std::string::npos && blank > start) {
            end = blank;
            next = blank + 1;
        }
        lines.push_back(text.substr(start, end - start));
        start = next;
    }
    return lines;
}

std::string Join(const std::vector<std::string>& texts, const std::string& separator) {
    std::string joined;
    for (const std::string& text : texts)
        joined += (&text == &texts.front() ? "" : separator) + text;
    return joined;
}

std::string MillisecondsText(double milliseconds) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.1f ms", milliseconds);
    return text;
}

} // namespace corvane::vornhost
