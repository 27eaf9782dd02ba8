#pragma once

#include <string>
#include <vector>

namespace corvane::vornhost {

// The addresses that a word of the command line stands for, in their order: an address itself,
// "127.0.1.10-127.0.1.40", "127.0.1.10-40" or "127.0.1.0/24" (without the network's own address and that for
// all), each with ":PORT" behind it where the web port is not 80. Throws CFailure for what is none of these,
// and for more than 65,536.
std::vector<std::string> AddressesOf(const std::string& word);

} // namespace corvane::vornhost
