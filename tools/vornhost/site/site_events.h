#pragma once

#include "tools/vornhost/site/site_run.h"

#include <optional>

namespace corvane::vornhost {

// Watches the alarm inputs of a site's cameras and writes each change as a line, until the time is over or
// Ctrl-C. A camera that is lost is told, and tried until it is back. A failure when one is lost at the end.
ExitStatus WatchEvents(const CSiteRun& run, std::size_t jobs, std::optional<double> seconds);

} // namespace corvane::vornhost
