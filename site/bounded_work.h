#pragma once

#include <atomic>
#include <cstddef>
#include <functional>

namespace corvane::site {

// Runs `work` for each place from 0 to `count` - 1, on at most `jobs` threads at once, in any order; returns
// when all that has begun has ended. Nothing more is begun once `isEnded` is true. `work` must not throw.
// Throws std::system_error when not even one thread is to be had.
void ForEachPlace(std::size_t count, std::size_t jobs, const std::atomic<bool>& isEnded,
                  const std::function<void(std::size_t place)>& work);

} // namespace corvane::site
