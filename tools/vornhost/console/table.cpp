#include "tools/vornhost/console/table.h"

#include "site/base/environment.h"
#include "site/base/terminal_text.h"
#include "tools/vornhost/names.h"

#include <algorithm>
#include <numeric>
#include <unistd.h>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr std::size_t Gap = 2;          // blanks between columns
constexpr std::size_t NarrowColumn = 8; // no column is squeezed below

std::string WithoutTrailingBlanks(std::string line) {
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void Squeeze(std::vector<std::size_t>& widths, std::size_t room) {
    while (std::accumulate(widths.begin(), widths.end(), std::size_t{0}) > room) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= NarrowColumn)
            return;
        --*widest;
    }
}

std::string Styled(const char* style, const std::string& text, bool colour) {
    return colour ? std::string("\x1b[") + style + "m" + text + "\x1b[0m" : text;
}

} // namespace

std::size_t PageWidth() {
    constexpr std::size_t OfFile = 100;
    constexpr std::size_t Narrowest = 40; // below, columns would hold a word a line
    constexpr std::size_t Widest = 160;   // beyond, no eye finds its line
    return std::clamp(TerminalWidth(STDOUT_FILENO, OfFile), Narrowest, Widest);
}

CTable::CTable(std::vector<std::string> titles, std::size_t indent)
    : titles_(std::move(titles)), indent_(indent), leastWidths_(titles_.size(), 0) {}

void CTable::addRow(std::vector<std::string> cells) {
    for (std::string& cell : cells)
        cell = PrintableText(cell);
    leastWidths_.resize(std::max(leastWidths_.size(), cells.size()), 0);
    rows_.push_back(std::move(cells));
}

void CTable::setLeastWidth(std::size_t column, std::size_t width) {
    leastWidths_.resize(std::max(leastWidths_.size(), column + 1), 0);
    leastWidths_[column] = width;
}

std::vector<std::size_t> CTable::columnWidths() const {
    std::vector<std::size_t> widths = leastWidths_;
    const auto widen = [&widths](const std::vector<std::string>& cells) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            widths[i] = std::max(widths[i], DisplayWidth(cells[i]));
    };
    widen(titles_);
    std::for_each(rows_.begin(), rows_.end(), widen);
    const std::size_t gaps = widths.empty() ? 0 : Gap * (widths.size() - 1);
    Squeeze(widths, PageWidth() - indent_ - gaps);
    return widths;
}

std::string CTable::lines(const std::vector<std::string>& cells,
                          const std::vector<std::size_t>& widths) const {
    std::vector<std::vector<std::string>> wrapped;
    std::size_t height = 1;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        wrapped.push_back(Wrap(cells[i], widths[i]));
        height = std::max(height, wrapped.back().size());
    }
    std::string text;
    for (std::size_t row = 0; row < height; ++row) {
        std::string line(indent_, ' ');
        for (std::size_t i = 0; i < wrapped.size(); ++i)
            line += PadTo(row < wrapped[i].size() ? wrapped[i][row] : "", widths[i] + Gap);
        text += WithoutTrailingBlanks(line) + "\n";
    }
    return text;
}

std::string CTable::headingLines(bool colour) const {
    std::string heading = lines(titles_, columnWidths());
    heading.pop_back();
    return Bold(heading, colour) + "\n";
}

std::string CTable::rowLines() const {
    const std::vector<std::size_t> widths = columnWidths();
    std::string text;
    for (const std::vector<std::string>& row : rows_)
        text += lines(row, widths);
    return text;
}

std::string CTable::lineOf(const std::vector<std::string>& cells) const {
    std::vector<std::string> printable;
    for (const std::string& cell : cells)
        printable.push_back(PrintableText(cell));
    return lines(printable, columnWidths());
}

bool ColourWanted() {
    if (!EnvironmentVariable("NO_COLOR").value_or("").empty())
        return false;
    return isatty(STDOUT_FILENO) && EnvironmentVariable("TERM").value_or("dumb") != "dumb";
}

std::string Bold(const std::string& text, bool colour) {
    return Styled("1", text, colour);
}

std::string Red(const std::string& text, bool colour) {
    return Styled("31", text, colour);
}

} // namespace corvane::vornhost
