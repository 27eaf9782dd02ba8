#include "site/bounded_work.h"

#include <condition_variable>
#include <iterator>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <vector>

namespace corvane::site {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds Look{50}; // for pieces that have come to count no longer

class CBoundedWork {
public:
    CBoundedWork(std::size_t count, const SWorkBounds& bounds, const std::atomic<bool>& isEnded,
                 const std::function<void(std::size_t)>& work)
        : count_(count), bounds_(bounds), isEnded_(isEnded), work_(work) {}

    void run() {
        std::unique_lock<std::mutex> lock(mutex_);
        do {
            while (mayBegin() && running_.size() < bounds_.jobs * bounds_.threadsPerJob && startThread()) {
            }
            changed_.wait_for(lock, Look);
        } while (!running_.empty() || mayBegin());
        lock.unlock();
        for (std::thread& thread : threads_)
            thread.join();
    }

private:
    using Running = std::multiset<Clock::time_point>; // when each piece began

    // REQUIRES: mutex_ held.
    bool mayBegin() const {
        const auto counted =
            std::distance(running_.upper_bound(Clock::now() - bounds_.longestJob), running_.end());
        return next_ < count_ && !isEnded_ && static_cast<std::size_t>(counted) < bounds_.jobs;
    }

    // REQUIRES: mutex_ held. False where there is no thread to be had; those that are there do the work.
    bool startThread() {
        const auto began = running_.insert(Clock::now());
        try {
            threads_.emplace_back([this, place = next_, began] { work(place, began); });
        } catch (const std::system_error&) {
            running_.erase(began);
            if (threads_.empty())
                throw;
            return false;
        }
        ++next_;
        return true;
    }

    void work(std::size_t place, Running::iterator began) {
        for (;;) {
            work_(place);
            const std::lock_guard<std::mutex> lock(mutex_);
            running_.erase(began);
            if (!mayBegin())
                break;
            place = next_++;
            began = running_.insert(Clock::now());
        }
        changed_.notify_all();
    }

    const std::size_t count_;
    const SWorkBounds bounds_;
    const std::atomic<bool>& isEnded_;
    const std::function<void(std::size_t)>& work_;

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::size_t next_ = 0; // to be begun
    Running running_;
    std::vector<std::thread> threads_; // run()'s
};

} // namespace

void ForEachPlace(std::size_t count, const SWorkBounds& bounds, const std::atomic<bool>& isEnded,
                  const std::function<void(std::size_t)>& work) {
    if (count > 0)
        CBoundedWork(count, bounds, isEnded, work).run();
}

} // namespace corvane::site
