#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane::service {

struct SProberTimes {
    std::chrono::milliseconds period{4'000};   // between two rounds
    std::chrono::milliseconds patience{3'000}; // for one answer
};

// Asks cameras without credentials, many side by side on one thread, whether anything there still answers
// HTTP: a small request of which any status will do.
class CProber {
public:
    struct STarget {
        std::string address; // HOST or HOST:PORT
        std::function<void(bool isAnswering)> told;
    };
    // Who is to be asked in this round.
    using Targets = std::function<std::vector<STarget>()>;

    // `path` with its query. Both functions are called on the prober's thread.
    CProber(std::string path, Targets targets, SProberTimes times = {});
    ~CProber();
    CProber(const CProber&) = delete;
    CProber& operator=(const CProber&) = delete;

private:
    void run();
    void askAll(const std::vector<STarget>& targets);
    bool isEnded() const;

    const std::string path_;
    const Targets targets_;
    const SProberTimes times_;

    mutable std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    bool isEnded_ = false;

    std::thread thread_;
};

} // namespace corvane::service
