#include "tools/vornhost/console/waiting_line.h"

#include "site/base/standard_streams.h"
#include "tools/vornhost/names.h"

namespace corvane::vornhost {
namespace {

constexpr std::chrono::seconds Second{1};

const std::chrono::steady_clock::time_point ProgramStart = std::chrono::steady_clock::now();

} // namespace

CWaitingLine::CWaitingLine() {
    if (line_.isShown())
        thread_ = std::thread([this] { run(); });
}

CWaitingLine::~CWaitingLine() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnding_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable())
        thread_.join();
}

void CWaitingLine::show(const std::string& what) {
    const auto quiet = pause();
    what_ = what;
    since_ = std::chrono::steady_clock::now();
    changed_.notify_all();
}

void CWaitingLine::end() {
    show("");
}

std::unique_lock<std::mutex> CWaitingLine::pause() {
    std::unique_lock<std::mutex> lock(mutex_);
    line_.clear();
    return lock;
}

void CWaitingLine::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!isEnding_) {
        if (what_.empty()) {
            changed_.wait(lock);
            continue;
        }
        // Several short waits one after another are a long one to who has not seen a word yet.
        const auto since = HasSpoken() ? since_ : ProgramStart;
        const auto waited =
            std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - since);
        if (waited >= Second)
            line_.show(what_ + ", " + std::to_string(waited.count()) + " s");
        changed_.wait_until(lock, since + waited + Second);
    }
}

} // namespace corvane::vornhost
