#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>

namespace corvane::site {

// How many pieces of work run side by side.
struct SWorkBounds {
    std::size_t jobs = 64;
    // A piece that has taken so long waits for somebody who does not answer, and no longer counts,
    std::chrono::milliseconds longestJob{1'000};
    // up to so many threads for each job.
    std::size_t threadsPerJob = 4;
};

// Runs `work` for each place from 0 to `count` - 1, beginning in this order, each on one of several threads;
// returns when all that has begun has ended. Nothing more is begun once `isEnded` is true. `work` must not
// throw. Throws std::system_error when not even one thread is to be had.
void ForEachPlace(std::size_t count, const SWorkBounds& bounds, const std::atomic<bool>& isEnded,
                  const std::function<void(std::size_t place)>& work);

} // namespace corvane::site
