#pragma once

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace corvane::bench {

// What this process uses.
struct SProcessUse {
    double threads;
    double descriptors;
    double residentBytes;
    double cpuSeconds;
    double heapBytes; // that are allocated, whatever the allocator keeps beside them
};

inline double CountEntries(const char* folder) {
    return static_cast<double>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

inline double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

inline SProcessUse ProcessUse() {
    double pages = 0;
    double residentPages = 0;
    std::ifstream("/proc/self/statm") >> pages >> residentPages;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const struct mallinfo2 heap = mallinfo2();
    return {CountEntries("/proc/self/task"), CountEntries("/proc/self/fd"),
            residentPages * static_cast<double>(sysconf(_SC_PAGESIZE)),
            Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
            static_cast<double>(heap.uordblks) + static_cast<double>(heap.hblkhd)};
}

} // namespace corvane::bench
