#include "site/work_pool.h"

#include <system_error>
#include <utility>

namespace corvane::site {

void CWorkPool::add(Task task, std::chrono::milliseconds after) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isEnded_)
        return;
    tasks_.emplace(Clock::now() + after, std::move(task));
    if (tasks_.size() > idle_ && threads_.size() < most_) {
        try {
            threads_.emplace_back([this] { work(); });
        } catch (const std::system_error&) { // fewer do the work
            if (threads_.empty())
                throw;
        }
    }
    changed_.notify_one();
}

void CWorkPool::end() {
    std::vector<std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isEnded_ = true;
        threads = std::exchange(threads_, {});
    }
    changed_.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.clear();
}

void CWorkPool::work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!isEnded_) {
        const auto next = tasks_.begin();
        if (next == tasks_.end() || next->first > Clock::now()) {
            ++idle_;
            if (next == tasks_.end())
                changed_.wait(lock);
            else
                changed_.wait_until(lock, Clock::time_point(next->first));
            --idle_;
            continue;
        }
        Task task = std::move(next->second);
        tasks_.erase(next);
        if (!tasks_.empty())
            changed_.notify_one(); // who waits for no time may be the one that is needed
        lock.unlock();
        task();
        task = nullptr; // what it holds may take its time to end, or add another
        lock.lock();
    }
}

} // namespace corvane::site
