#pragma once

#include "host/api.h"

#include <string>

namespace corvane::refhost {

// Whether the port of `address` (HOST or HOST:PORT) speaks TLS: a handshake is made, and nothing is asked.
// Takes 2 s at most. Callable from any thread.
VORN_HOST_API bool SpeaksTls(const std::string& address);

} // namespace corvane::refhost
