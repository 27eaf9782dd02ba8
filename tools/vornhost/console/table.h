#pragma once

#include <string>
#include <vector>

namespace corvane::vornhost {

// No line of a table is wider: as wide as the terminal of standard output is, within reason; 100 for a file.
std::size_t PageWidth();

// An aligned table. The texts are made printable; a cell too wide for the page is wrapped inside its column.
class CTable {
public:
    // Without column titles the table has no heading.
    explicit CTable(std::vector<std::string> titles = {}, std::size_t indent = 0);

    void addRow(std::vector<std::string> cells);

    // A column's least width: for rows that are printed before all are known.
    void setLeastWidth(std::size_t column, std::size_t width);

    std::string headingLines(bool colour) const;
    std::string rowLines() const;

    // A row's lines as they stand in this table; the row is not kept.
    std::string lineOf(const std::vector<std::string>& cells) const;

private:
    std::vector<std::size_t> columnWidths() const;
    std::string lines(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const;

    std::vector<std::string> titles_;
    std::size_t indent_;
    std::vector<std::size_t> leastWidths_;
    std::vector<std::vector<std::string>> rows_;
};

// Whether standard output is a terminal that wants colour (NO_COLOR, TERM=dumb).
bool ColourWanted();

std::string Bold(const std::string& text, bool colour);
std::string Red(const std::string& text, bool colour);

} // namespace corvane::vornhost
