#include "tools/vornhost/console/keyboard.h"

#include <cerrno>
#include <unistd.h>

namespace corvane::vornhost {
namespace {

termios AsKeyboard(termios mode) {
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    mode.c_iflag &= ~static_cast<tcflag_t>(IXON); // Ctrl-S would hold up the program and not the camera
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    for (const int signalKey : {VSUSP, VQUIT})
        mode.c_cc[signalKey] = _POSIX_VDISABLE;
    return mode;
}

extern "C" void RaiseTermination(int /*signal*/) {
    const int error = errno;
    kill(getpid(), SIGTERM);
    errno = error;
}

} // namespace

CKeyboard::CKeyboard() {
    termios mode{};
    if (tcgetattr(file(), &mode) != 0)
        return;
    before_ = mode;
    const termios keyboard = AsKeyboard(mode);
    tcsetattr(file(), TCSANOW, &keyboard);
}

CKeyboard::~CKeyboard() {
    if (!before_)
        return;
    tcflush(file(), TCIFLUSH); // keys that still repeat are not for the shell
    tcsetattr(file(), TCSANOW, &*before_);
}

int CKeyboard::file() {
    return STDIN_FILENO;
}

std::optional<std::string> CKeyboard::read() {
    char bytes[256];
    for (;;) {
        const ssize_t count = ::read(file(), bytes, sizeof bytes);
        if (count > 0)
            return std::string(bytes, static_cast<std::size_t>(count));
        if (count == 0 || errno != EINTR) // a terminal that has hung up fails
            return std::nullopt;
    }
}

CHangupAsTermination::CHangupAsTermination() {
    sigaction(SIGHUP, nullptr, &before_);
    if (before_.sa_handler == SIG_IGN)
        return;
    struct sigaction action {};
    action.sa_handler = RaiseTermination;
    action.sa_flags = SA_RESTART;
    sigaction(SIGHUP, &action, nullptr);
}

CHangupAsTermination::~CHangupAsTermination() {
    sigaction(SIGHUP, &before_, nullptr);
}

} // namespace corvane::vornhost
