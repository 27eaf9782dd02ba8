#include "refhost/base/memory_limit.h"

#include <cerrno>
#include <cstddef>
#include <sys/mman.h>

namespace corvane::refhost {

bool IsMemoryShort() {
    constexpr std::size_t HeapOfAThread = std::size_t{64} << 20; // glibc's arena
    const int before = errno;
    void* const place =
        ::mmap(nullptr, HeapOfAThread, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (place != MAP_FAILED)
        ::munmap(place, HeapOfAThread);
    errno = before;
    return place == MAP_FAILED;
}

} // namespace corvane::refhost
