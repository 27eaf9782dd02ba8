#include "net/notice.h"

#include <iostream>

namespace camsim {
namespace {

constexpr std::chrono::seconds Pause{5};

} // namespace

void CNotice::say() {
    const Clock::duration now = Clock::now().time_since_epoch();
    Clock::duration next = nextTime_;
    if (now < next || !nextTime_.compare_exchange_strong(next, now + Pause))
        return;
    std::cerr << "camsim: " + text_ + "\n";
}

} // namespace camsim
