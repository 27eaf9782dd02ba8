#pragma once

#include <string>
#include <vector>

namespace corvane::site {

// Text from outside made fit for a terminal (refhost/printable_text.h), and cut where it is longer than
// anybody reads; the end then says so.
std::string PrintableText(const std::string& text);
inline constexpr std::size_t MostForEyes = 4'000; // bytes

// How many columns the terminal behind a descriptor has; `otherwise` where it is none, or does not say.
std::size_t TerminalWidth(int descriptor, std::size_t otherwise);

// How many columns a printable text takes: two for a wide East Asian character, none for a combining one.
std::size_t DisplayWidth(const std::string& text);

// The text with blanks up to a width.
std::string PadTo(const std::string& text, std::size_t width);

// A printable text cut into lines no wider than `width`, at blanks where there are any; at least one line.
std::vector<std::string> Wrap(const std::string& text, std::size_t width);

// The texts with a separator between them.
std::string Join(const std::vector<std::string>& texts, const std::string& separator);

// A number with so many decimals; durations: "22.8 ms", "12.3 s".
std::string Decimals(double value, int decimals);
std::string MillisecondsText(double milliseconds);
std::string SecondsText(double seconds);

} // namespace corvane::site
