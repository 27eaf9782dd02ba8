#pragma once

#include <csignal>
#include <optional>
#include <string>
#include <termios.h>

namespace corvane::vornhost {

// Standard input as a keyboard: where it is a terminal, each key comes at once and is not shown, and Ctrl-C
// is the only key that makes a signal. The terminal is as before once this is gone. One at a time in the
// process.
class CKeyboard {
public:
    CKeyboard();
    ~CKeyboard();
    CKeyboard(const CKeyboard&) = delete;
    CKeyboard& operator=(const CKeyboard&) = delete;

    static int file();
    // What was typed, once the file is readable: at least a byte; nothing at the end of the input.
    static std::optional<std::string> read();

private:
    std::optional<termios> before_; // of a terminal
};

// While it lives, a hang-up of the terminal is taken for SIGTERM, unless the program was told to ignore it.
// One at a time in the process.
class CHangupAsTermination {
public:
    CHangupAsTermination();
    ~CHangupAsTermination();
    CHangupAsTermination(const CHangupAsTermination&) = delete;
    CHangupAsTermination& operator=(const CHangupAsTermination&) = delete;

private:
    struct sigaction before_ {};
};

} // namespace corvane::vornhost
