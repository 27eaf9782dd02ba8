#pragma once

#include "host/api.h"

namespace corvane::refhost {

// Gives this process what hundreds of cameras need and a process has not by default. It
//
// - raises the soft limit of open files to the hard one. select() cannot wait for descriptors of 1,024 and
//   above, so nothing in the process may use it; programs that it starts inherit the limit;
// - gets places in the kernel's table of threads that wait. Linux 6.16 and later give each process a table of
//   its own with few (16 on two cores), and every wake-up walks through all threads that wait at its place:
//   with 10,000 cameras that was more than half of the processor time that their refreshes took.
//
// What the system refuses, or does not know, stays as it is. Call it before the first request: how many idle
// connections are kept is decided then. Callable from any thread.
VORN_HOST_API void PrepareForManyCameras();

} // namespace corvane::refhost
