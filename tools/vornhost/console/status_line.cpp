#include "tools/vornhost/console/status_line.h"

#include "site/base/standard_streams.h"
#include "site/base/terminal_text.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>

namespace corvane::vornhost {
namespace {

constexpr std::size_t UsualWidth = 80;
constexpr const char* BackToLineStart = "\r\x1b[K"; // and empties the line

bool TakesOutput() {
    pollfd terminal{STDERR_FILENO, POLLOUT, 0};
    return poll(&terminal, 1, 0) == 1 && (terminal.revents & POLLOUT) != 0;
}

} // namespace

CStatusLine::CStatusLine(bool isWanted) : isShown_(isWanted && isatty(STDERR_FILENO) != 0) {}

CStatusLine::~CStatusLine() {
    clear();
}

void CStatusLine::show(const std::string& text) {
    if (!isShown_ || text == text_ || !TakesOutput())
        return;
    // A line that is wrapped could not be written over.
    const std::size_t width = std::max<std::size_t>(TerminalWidth(STDERR_FILENO, UsualWidth), 2) - 1;
    WriteMessage(BackToLineStart + Wrap(text, width).front());
    text_ = text;
}

void CStatusLine::clear() {
    if (!text_.empty())
        WriteMessage(BackToLineStart);
    text_.clear();
}

} // namespace corvane::vornhost
