#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane::service {

struct SProberTimes {
    std::chrono::milliseconds period{4'000};   // between two rounds
    std::chrono::milliseconds patience{3'000}; // for one answer
};

// Asks cameras without credentials, many side by side on one thread, whether anything there answers HTTP: a
// small request of which any status will do. Begins with a round at once.
class CProber {
public:
    struct STarget {
        std::string address; // HOST or HOST:PORT
        std::function<void(bool isAnswering)> told;
    };
    // Who is to be asked in this round.
    using Targets = std::function<std::vector<STarget>()>;

    // `path` with its query. Both functions are called on the prober's thread. Throws std::bad_alloc.
    CProber(std::string path, Targets targets, SProberTimes times = {});
    ~CProber();
    CProber(const CProber&) = delete;
    CProber& operator=(const CProber&) = delete;

    // At once, beside the rounds. Callable from any thread.
    void ask(STarget target);

private:
    class CRequests;

    void run();

    const Targets targets_;
    const SProberTimes times_;
    const std::unique_ptr<CRequests> requests_; // of the thread alone, but for its wake()

    std::mutex mutex_; // guards what follows
    std::vector<STarget> asked_;
    bool isEnded_ = false;

    std::thread thread_;
};

} // namespace corvane::service
