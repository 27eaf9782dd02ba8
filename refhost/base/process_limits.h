#pragma once

#include "host/api.h"

namespace corvane::refhost {

// Gives this process what hundreds of cameras need and a process has not by default: every open file that it
// may have, and places in the kernel's table of threads that wait. Linux 6.16 and later give each process a
// table of its own with few places (16 on two cores), and every wake-up walks through all threads that wait
// at its place: with 10,000 cameras that was half of the time that their refreshes took. What the system
// refuses, or does not know, stays as it is. Call it before the first request: how many idle connections are
// kept is decided then. Callable from any thread.
VORN_HOST_API void PrepareForManyCameras();

} // namespace corvane::refhost
