#pragma once

#include <cstddef>
#include <string_view>
#include <strings.h>

namespace corvane::vorn_utility::v1_0 {

// Whether libcurl takes a header's line for the first of a reply: in capital letters or small ones.
inline bool IsStatusLine(std::string_view line) {
    constexpr std::string_view Start = "HTTP/";
    return line.size() >= Start.size() && strncasecmp(line.data(), Start.data(), Start.size()) == 0;
}

// Keeps libcurl off memory that it has given back (versions before 8.1). It appends a header's line that
// begins with a blank to the field before; on a handle used again, to the first line of a reply, that is a
// field of the transfer before. A handle's CURLOPT_DEBUGFUNCTION sees each line first.
//
// Used on the thread of the transfer.
class CStrayFold {
public:
    // Each CURLINFO_HEADER_IN: `line` is libcurl's own memory, `size` in bytes. A stray rest is made to look
    // like an empty line, which is appended to nothing.
    void takeHeaderLine(char* line, std::size_t size) {
        if (isFirstField_ && size > 0 && (*line == ' ' || *line == '\t')) {
            *line = '\r';
            isFound_ = true;
        }
        isFirstField_ = IsStatusLine({line, size});
    }
    // Whether a reply has begun with the rest of a line; it is no HTTP, and is not to be read further.
    bool isFound() const { return isFound_; }

private:
    bool isFirstField_ = false; // what comes next
    bool isFound_ = false;
};

} // namespace corvane::vorn_utility::v1_0
