#include "benchmarks/soak/growth.h"

#include "benchmarks/stopwatch.h"

#include <malloc.h>

#include <string>

namespace corvane::bench {

namespace {

#if defined(VORN_UNDER_ASAN) || defined(VORN_UNDER_TSAN) // which keep a memory of their own
constexpr bool IsMemoryOurs = false;
#else
constexpr bool IsMemoryOurs = true;
#endif

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
    check("descriptors", first_->descriptors, last_.descriptors, first_->descriptors + slack_.descriptors);
    if (!IsMemoryOurs)
        return;
    check("heap", first_->heapBytes, last_.heapBytes, first_->heapBytes + slack_.heapBytes);
    check("resident memory", first_->residentBytes, last_.residentBytes,
          first_->residentBytes + slack_.residentBytes);
}

} // namespace corvane::bench
