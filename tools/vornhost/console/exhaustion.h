#pragma once

#include <string>

namespace corvane::vornhost {

// Libraries end the process when they get no memory or no thread. From now on such an end is told first:
// `message` goes to standard error, `line` to standard output, and the program ends with
// ExitStatus::NotStarted. Other crashes stay what they are. Called once, before any other thread is made.
void TellExhaustion(const std::string& message, const std::string& line);

} // namespace corvane::vornhost
