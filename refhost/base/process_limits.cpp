#include "refhost/base/process_limits.h"

#include <sys/prctl.h>
#include <sys/resource.h>

namespace corvane::refhost {
namespace {

// linux/prctl.h has them since 6.16.
constexpr int FutexHash = 78;
constexpr unsigned long SetSlots = 1;
constexpr unsigned long Slots = 4096; // 256 KiB of the kernel's memory

void RaiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

void PrepareForManyCameras() {
    RaiseDescriptorLimit();
    prctl(FutexHash, SetSlots, Slots, 0UL, 0UL);
}

} // namespace corvane::refhost
