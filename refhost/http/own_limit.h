#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace corvane::refhost {

inline constexpr const char* OwnLimitText = "this process may open no further descriptor";

// Whether this process, or its machine, has none left: libcurl tells only that it could not connect.
inline bool IsOutOfDescriptors() {
    const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (copy >= 0)
        close(copy);
    return copy < 0 && (errno == EMFILE || errno == ENFILE);
}

} // namespace corvane::refhost
