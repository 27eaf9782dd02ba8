#include "benchmarks/soak/findings.h"

#include <iostream>

namespace corvane::bench {

namespace {

constexpr int MostTold = 100;

} // namespace

void CFindings::add(const std::string& where, const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (++count_ <= MostTold)
        std::cerr << where << ": " << what << std::endl;
}

int CFindings::count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return count_;
}

} // namespace corvane::bench
