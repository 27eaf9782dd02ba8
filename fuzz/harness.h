#pragma once

// What the fuzz targets share. An input is a text: its first line or lines hold a target's arguments, the
// rest what it reads, so that the inputs of a corpus can be read and written by hand.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace corvane::fuzz {

// Ends the process, for libFuzzer to keep the input, when what must always hold does not.
inline void Require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

inline std::string InputText(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Takes the first line, without its end, from the text.
inline std::string TakeLine(std::string& text) {
    const std::size_t end = text.find('\n');
    std::string line = text.substr(0, end);
    text.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

// The pieces between the separators, empty ones too; none for an empty text.
inline std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, separator);)
        pieces.push_back(piece);
    return pieces;
}

} // namespace corvane::fuzz
