#pragma once

#include <string>
#include <vector>

namespace corvane::test_support {

// Keeps what a run of vornhost has printed in the folder that VORN_PRINTED names, so that scripts/check-lines
// can hold every line that any test makes it print against its schema; without the variable nothing is kept.
// `isCut`: it may have been ended in the middle of a line. Callable from any thread.
void KeepPrinted(const std::vector<std::string>& arguments, const std::string& out, const std::string& err,
                 bool isCut);

} // namespace corvane::test_support
