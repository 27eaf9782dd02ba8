#include "host/assert.h"

#include <cstdio>
#include <cstdlib>

namespace corvane::device_handler::v1_0 {

void AssertionFailed(const char* source, int line) {
    std::fprintf(stderr, "assertion failed: %s:%d\n", source, line);
    std::abort();
}

} // namespace corvane::device_handler::v1_0
