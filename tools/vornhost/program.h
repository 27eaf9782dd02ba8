#pragma once

#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"

namespace corvane::vornhost {

// The whole program, from its command line to its end.
ExitStatus RunProgram(int argc, char** argv);

} // namespace corvane::vornhost
