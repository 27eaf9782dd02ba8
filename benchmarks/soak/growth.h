#pragma once

#include "benchmarks/process_use.h"
#include "benchmarks/soak/findings.h"

#include <optional>
#include <string>

namespace corvane::bench {

// What this process uses, from when it has warmed up on. It must not grow.
class CGrowth {
public:
    // As much may be in use or not, as kept connections and the allocator's pools come and go.
    struct SSlack {
        double descriptors;
        double heapBytes;
        double residentBytes;
    };
    explicit CGrowth(const SSlack& slack) : slack_(slack) {}

    // At rest. The first time is what the others are held against.
    SProcessUse measure();
    // Whether the last was more than the first; `where` is for findings.
    void check(const std::string& where, CFindings& findings) const;

private:
    const SSlack slack_;
    std::optional<SProcessUse> first_;
    SProcessUse last_{};
};

} // namespace corvane::bench
