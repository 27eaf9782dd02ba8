#pragma once

#include <string>
#include <vector>

namespace corvane::vornhost {

// Runs this program with other arguments, and returns what it has written to its standard output when it has
// ended, however it has; its standard error is thrown away. Callable from any thread. Throws CFailure where
// it could not be started.
std::string OutputOfThisProgram(const std::vector<std::string>& arguments);

} // namespace corvane::vornhost
