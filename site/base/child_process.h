#pragma once

#include <functional>
#include <string>
#include <vector>

namespace corvane::site {

// Runs this program with other arguments, and tells each line of its standard output, without its line end,
// as it comes; returns when it has ended, however it has. Its standard error is thrown away. Callable from
// any thread. Throws CFailure where it could not be started.
void RunThisProgram(const std::vector<std::string>& arguments,
                    const std::function<void(const std::string& line)>& told);

} // namespace corvane::site
