#pragma once

#include "benchmarks/environment.h"
#include "benchmarks/soak/findings.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace corvane::bench {

// Some commands that a PTZ controller of its own is given at once, each to another place. Every callback must
// come once, in the order in which the commands were given.
class CMoves {
public:
    CMoves(const std::string& where, int count, int firstPlace, CFindings& findings);

    // Carries them out, those that fit into the time; the controller goes then, and with it those that wait.
    // Returns how many have succeeded.
    int run(vorn_ptz_controller::v1_0::CPtzController& controller, std::chrono::milliseconds time);

private:
    void ended(int command, bool hasFailed);

    const std::string where_;
    const int count_;
    const int firstPlace_;
    CFindings& findings_;
    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::vector<int> ends_;
    int succeeded_ = 0;
};

} // namespace corvane::bench
