#include "tools/vornhost/terminal_text.h"

#include <algorithm>
#include <cstdint>
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
constexpr SCodeRange ZeroWidth[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
};
constexpr SCodeRange Wide[] = {
    {0x1100, 0x115F}, {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0x9FFF},
    {0xA000, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},
    {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

template <std::size_t N>
bool IsIn(const SCodeRange (&ranges)[N], char32_t code) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const SCodeRange& range) { return range.first <= code && code <= range.last; });
}

std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead < 0xE0)
        return 2;
    if (lead >= 0xE0 && lead < 0xF0)
        return 3;
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

SCharacter Decode(const std::string& text, std::size_t at) {
    static constexpr char32_t Smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = SequenceLength(lead);
    if (length == 1)
        return {lead, 1};
    if (length == 0 || at + length > text.size())
        return {Invalid, 1};
    char32_t code = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0u) != 0x80u)
            return {Invalid, 1};
        code = (code << 6) | (next & 0x3Fu);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < Smallest[length] || code > 0x10FFFF || surrogate ? SCharacter{Invalid, 1}
                                                                   : SCharacter{code, length};
}

std::size_t WidthOf(char32_t code) {
    if (IsIn(ZeroWidth, code))
        return 0;
    return IsIn(Wide, code) ? 2 : 1;
}

// The longest beginning of the text that fits; at least one character.
std::size_t FittingLength(const std::string& text, std::size_t width) {
    std::size_t used = 0;
    std::size_t at = 0;
    while (at < text.size()) {
        const SCharacter character = Decode(text, at);
        used += WidthOf(character.code);
        if (used > width && at > 0)
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
        if (character.code == Invalid || IsIn(Unprintable, character.code))
            printable += Replacement;
        else
            printable.append(text, at, character.length);
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
    std::string rest = text;
    while (DisplayWidth(rest) > width) {
        std::size_t end = FittingLength(rest, width);
        std::size_t next = end;
        const std::size_t blank = rest.rfind(' ', end);
        if (blank != std::string::npos && blank > 0) {
            end = blank;
            next = blank + 1;
        }
        lines.push_back(rest.substr(0, end));
        rest.erase(0, next);
    }
    if (!rest.empty() || lines.empty())
        lines.push_back(rest);
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
