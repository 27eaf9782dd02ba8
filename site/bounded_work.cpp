#include "site/bounded_work.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

namespace corvane::site {

void ForEachPlace(std::size_t count, std::size_t jobs, const std::atomic<bool>& isEnded,
                  const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    const auto run = [&] {
        for (std::size_t place = next++; place < count && !isEnded; place = next++)
            work(place);
    };
    std::vector<std::thread> threads;
    try {
        while (threads.size() < std::min(jobs, count))
            threads.emplace_back(run);
    } catch (const std::system_error&) { // fewer do the work, too
        if (threads.empty())
            throw;
    }
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace corvane::site
