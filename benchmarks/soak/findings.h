#pragma once

#include <mutex>
#include <string>

namespace corvane::bench {

// What a run has found wrong. Callable from any thread.
class CFindings {
public:
    // Tells it at once.
    void add(const std::string& where, const std::string& what);
    int count() const;

private:
    mutable std::mutex mutex_; // guards count_, and the lines on standard error
    int count_ = 0;
};

} // namespace corvane::bench
