#pragma once

#include <string>

namespace corvane::vornhost {

// One line on standard error that is written over and over, where that is a terminal. Belongs to one thread.
class CStatusLine {
public:
    // `isWanted`: whether there is to be one at all.
    explicit CStatusLine(bool isWanted);
    ~CStatusLine();
    CStatusLine(const CStatusLine&) = delete;
    CStatusLine& operator=(const CStatusLine&) = delete;

    bool isShown() const { return isShown_; }
    // Shows a printable text, as far as the terminal is wide; left out while the terminal takes nothing.
    void show(const std::string& text);
    // Takes the line away.
    void clear();

private:
    const bool isShown_;
    std::string text_; // what stands there
};

} // namespace corvane::vornhost
