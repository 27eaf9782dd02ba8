#pragma once

#include "service/serve_options.h"
#include "site/base/exit_status.h"
#include "site/session/options.h"
#include "tools/vornhost/names.h"

namespace corvane::vornhost {

// Runs a service. Throws CFailure.
using RunService = ExitStatus (*)(const SOptions& options, const service::SServeOptions& serveOptions);

// What `serve` does in this program: at first it becomes the program vornhost-service, so that no other verb
// loads what only a service needs. Called before the command line is run.
void SetRunService(RunService run);

} // namespace corvane::vornhost
