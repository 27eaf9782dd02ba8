#include "control/input_keys.h"

#include <array>
#include <iostream>
#include <sys/epoll.h>
#include <unistd.h>

namespace camsim {

InputKeys::InputKeys(Camera& camera, EventLoop& loop) : camera_(camera), loop_(loop) {
    // A program in the background would be stopped by touching its terminal.
    const bool own = isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
    if (!own || camera_.alarmInputs().levels().empty() || tcgetattr(STDIN_FILENO, &before_) != 0)
        return;
    termios single = before_;
    single.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    reads_ = tcsetattr(STDIN_FILENO, TCSANOW, &single) == 0;
    if (reads_)
        loop_.watch(STDIN_FILENO, EPOLLIN, [this] { readKeys(); });
}

InputKeys::~InputKeys() {
    if (reads_)
        tcsetattr(STDIN_FILENO, TCSANOW, &before_);
}

void InputKeys::readKeys() {
    std::array<char, 64> keys{};
    const ssize_t count = read(STDIN_FILENO, keys.data(), keys.size());
    if (count <= 0) {
        loop_.unwatch(STDIN_FILENO);
        return;
    }
    for (ssize_t i = 0; i < count; ++i)
        toggle(keys[static_cast<size_t>(i)] - '0');
}

void InputKeys::toggle(int terminal) {
    const AlarmInputs inputs = camera_.alarmInputs();
    const auto level = inputs.levels().find(terminal);
    if (level == inputs.levels().end())
        return;
    const AlarmInputs::Level other =
        level->second == AlarmInputs::Level::High ? AlarmInputs::Level::Low : AlarmInputs::Level::High;
    camera_.setAlarmInputs({{terminal, other}});
    std::cerr << "camera " << camera_.index() << ", input " << terminal << ": " << AlarmInputs::name(other)
              << "\n";
}

} // namespace camsim
