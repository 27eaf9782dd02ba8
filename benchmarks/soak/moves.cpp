#include "benchmarks/soak/moves.h"

#include <numeric>

namespace corvane::bench {

namespace {

using device_handler::v1_0::CCallback;
using device_handler::v1_0::CError;
using device_handler::v1_0::CString;
using vorn_ptz_controller::v1_0::CPtzController;

constexpr int Places = 10'001; // of the recorder's scale
constexpr int Stride = 97;     // no camera takes two such places for one

} // namespace

CMoves::CMoves(const std::string& where, int count, int firstPlace, CFindings& findings)
    : where_(where), count_(count), firstPlace_(firstPlace), findings_(findings) {}

int CMoves::run(CPtzController& controller, std::chrono::milliseconds time) {
    for (int command = 0; command < count_; ++command)
        controller.moveTo((firstPlace_ + command) * Stride % Places, Places / 2, 0,
                          CCallback([this, command](const CError& error, const std::vector<CString>&) {
                              ended(command, static_cast<bool>(error));
                          }));
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, time, [this] { return ends_.size() >= static_cast<std::size_t>(count_); });
    }
    controller.stop();

    std::vector<int> expected(static_cast<std::size_t>(count_));
    std::iota(expected.begin(), expected.end(), 0);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (ends_ != expected) {
        std::string order;
        for (const int end : ends_)
            order += ' ' + std::to_string(end);
        findings_.add(where_, "of " + std::to_string(count_) + " commands these ended:" + order);
    }
    return succeeded_;
}

void CMoves::ended(int command, bool hasFailed) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ends_.push_back(command);
    succeeded_ += hasFailed ? 0 : 1;
    changed_.notify_all();
}

} // namespace corvane::bench
