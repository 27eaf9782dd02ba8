#include "control/input_keys.h"

#include <array>
#include <iostream>
#include <sys/epoll.h>
#include <unistd.h>

namespace camsim {

CInputKeys::CInputKeys(CCamera& camera, CEventLoop& loop) : camera_(camera), loop_(loop) {
    // The system stops a background program that changes its terminal's settings (SIGTTOU).
    const bool own = isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
    if (!own || camera_.alarmInputs().levels().empty() || tcgetattr(STDIN_FILENO, &before_) != 0)
        return;
    termios single = before_;
    single.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    reads_ = tcsetattr(STDIN_FILENO, TCSANOW, &single) == 0;
    if (reads_)
        loop_.watch(STDIN_FILENO, EPOLLIN, [this] { readKeys(); });
}

CInputKeys::~CInputKeys() {
    if (reads_)
        tcsetattr(STDIN_FILENO, TCSANOW, &before_);
}

void CInputKeys::readKeys() {
    std::array<char, 64> keys{};
    const ssize_t count = read(STDIN_FILENO, keys.data(), keys.size());
    if (count <= 0) {
        loop_.unwatch(STDIN_FILENO);
        return;
    }
    for (ssize_t i = 0; i < count; ++i)
        toggle(keys[static_cast<size_t>(i)] - '0');
}

void CInputKeys::toggle(int terminal) {
    const CAlarmInputs inputs = camera_.alarmInputs();
    const auto level = inputs.levels().find(terminal);
    if (level == inputs.levels().end())
        return;
    const CAlarmInputs::Level other =
        level->second == CAlarmInputs::Level::High ? CAlarmInputs::Level::Low : CAlarmInputs::Level::High;
    camera_.setAlarmInputs({{terminal, other}});
    std::cerr << "camera " << camera_.index() << ", input " << terminal << ": " << CAlarmInputs::name(other)
              << "\n";
}

} // namespace camsim
