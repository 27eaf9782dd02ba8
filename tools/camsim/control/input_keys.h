#pragma once

#include "model/camera.h"
#include "net/event_loop.h"

#include <termios.h>

namespace camsim {

// While this object lives, the keys 1, 2, 3... at the terminal that the program runs in toggle the alarm
// inputs of a camera. Has no effect when standard input is no terminal, or another program's.
class CInputKeys {
public:
    // `loop` must be stopped before this object ends.
    CInputKeys(CCamera& camera, CEventLoop& loop);
    ~CInputKeys();
    CInputKeys(const CInputKeys&) = delete;
    CInputKeys& operator=(const CInputKeys&) = delete;

private:
    void readKeys();
    void toggle(int terminal);

    CCamera& camera_;
    CEventLoop& loop_;
    bool reads_ = false;
    termios before_{};
};

} // namespace camsim
