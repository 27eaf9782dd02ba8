#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace corvane::vornhost {

// Why a line cannot be split into words.
class CScriptLineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct SScriptLine {
    std::vector<std::string> words; // none for a blank line or a comment
    bool background = false;        // ended by an unquoted "&"
};

// Splits a line into words as a POSIX shell does: blanks between them, single and double quotes, backslashes,
// "#" at the beginning of a word for a comment. Nothing is expanded, and every other character, "&" before
// the end of the line too, is an ordinary one. Throws CScriptLineError.
SScriptLine ReadScriptLine(const std::string& line);

} // namespace corvane::vornhost
