#pragma once

#include <string>

namespace corvane::test_support {

// A socket that listens on loopback, on a port that the system chooses, with room for `queue` connections
// that nobody has accepted. The caller closes it. Throws std::system_error.
int ListenOnLoopback(int& port, int queue, bool ipv6 = false);

// "127.0.0.1:PORT"
std::string LoopbackAddress(int port);

// The address of a port on which nobody listens.
std::string UnusedAddress();

} // namespace corvane::test_support
