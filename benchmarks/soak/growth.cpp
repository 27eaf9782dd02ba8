#include "benchmarks/soak/growth.h"

#include "benchmarks/stopwatch.h"

#include <malloc.h>

#include <string>

namespace corvane::bench {

namespace {

constexpr double LargestGrowth = 0.05; // of memory; of threads none
constexpr double SlackBytes = 4 << 20; // that the allocator keeps, now more, now less

constexpr double LongestEnding = 10; // seconds, of a thread that nobody waits for

} // namespace

SProcessUse CGrowth::measure() {
    const CStopwatch watch;
    do {
        malloc_trim(0);
        last_ = ProcessUse();
    } while (first_ && last_.threads > first_->threads && watch.seconds() < LongestEnding);
    if (!first_)
        first_ = last_;
    return last_;
}

void CGrowth::check(const std::string& where, CFindings& findings) const {
    const auto check = [&](const char* what, double first, double last, double most) {
        if (last > most)
            findings.add(where, std::string(what) + " grew from " + std::to_string(first) + " to " +
                                    std::to_string(last));
    };
    check("threads", first_->threads, last_.threads, first_->threads);
    check("descriptors", first_->descriptors, last_.descriptors, first_->descriptors + slackDescriptors_);
    check("resident memory", first_->residentBytes, last_.residentBytes,
          first_->residentBytes * (1 + LargestGrowth) + SlackBytes);
}

} // namespace corvane::bench
