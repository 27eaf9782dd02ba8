#pragma once

#include "host/api.h"

namespace corvane::refhost {

// Whether this process may not have as much address space as one more thread takes for itself. Callable from
// any thread, also from a signal's handler.
VORN_HOST_API bool IsMemoryShort();

} // namespace corvane::refhost
