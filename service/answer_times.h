#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace corvane::service {

// How long cameras took, by kind of request; of all cameras together.
class CAnswerTimes {
public:
    // Upper bounds of the buckets in seconds; what takes longer counts in the last.
    static constexpr std::array<double, 11> Bounds = {0.005, 0.01, 0.025, 0.05, 0.1, 0.25,
                                                      0.5,   1,    2.5,   5,    10};
    struct SHistogram {
        std::array<std::uint64_t, Bounds.size() + 1> counts{}; // each bucket's own
        double sum = 0;
    };

    // `operation`: a request's path without its query. Callable from any thread, as the others are.
    void note(const std::string& operation, double seconds);
    std::map<std::string, SHistogram> all() const;

private:
    static constexpr std::size_t MostOperations = 64; // what comes later counts as "other"

    mutable std::mutex mutex_; // guards what follows
    std::map<std::string, SHistogram> histograms_;
};

} // namespace corvane::service
