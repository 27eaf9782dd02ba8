#include "site/base/terminal_text.h"

#include "refhost/base/printable_text.h"

#include <glib.h>

#include <cstdio>
#include <string_view>
#include <sys/ioctl.h>

namespace corvane::site {

namespace {

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
        const auto character = refhost::CharacterAt(text, at);
        used += WidthOf(character.code);
        if (used > width && at > start)
            break;
        at += character.length;
    }
    return at;
}

} // namespace

std::string PrintableText(const std::string& text) {
    if (text.size() <= MostForEyes)
        return refhost::PrintableText(text);
    std::size_t end = 0;
    while (end < MostForEyes)
        end += refhost::CharacterAt(text, end).length;
    return refhost::PrintableText(text.substr(0, end)) + "... and " + std::to_string(text.size() - end) +
           " bytes more";
}

std::size_t TerminalWidth(int descriptor, std::size_t otherwise) {
    winsize size{};
    const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return isKnown ? size.ws_col : otherwise;
}

std::size_t DisplayWidth(const std::string& text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const auto character = refhost::CharacterAt(text, at);
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
        const std::string_view line = std::string_view(text).substr(start, end - start + 1);
        const std::size_t blank = end < text.size() ? line.rfind(' ') : std::string::npos;
        if (blank != std::string::npos && blank > 0) {
            end = start + blank;
            next = end + 1;
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

std::string Decimals(double value, int decimals) {
    char text[64];
    (void)std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string MillisecondsText(double milliseconds) {
    return Decimals(milliseconds, 1) + " ms";
}

std::string SecondsText(double seconds) {
    return Decimals(seconds, 1) + " s";
}

} // namespace corvane::site
