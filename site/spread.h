#pragma once

#include <chrono>
#include <cstdint>
#include <random>

namespace corvane::site {

// A time up to a quarter shorter or longer, so that many who begin together do not stay together.
inline std::chrono::milliseconds Spread(std::chrono::milliseconds time) {
    thread_local std::minstd_rand random{std::random_device{}()};
    return std::chrono::milliseconds(
        std::uniform_int_distribution<std::int64_t>(time.count() * 3 / 4, time.count() * 5 / 4)(random));
}

} // namespace corvane::site
