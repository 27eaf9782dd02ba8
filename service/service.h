#pragma once

#include "service/serve_options.h"
#include "site/base/exit_status.h"
#include "site/session/options.h"

#include <functional>

namespace corvane::service {

// Takes what is to be called, from any thread, when the program is told to end.
using OnEnd = std::function<void(std::function<void()> end)>;

// Keeps the site and serves until it is told to end; SIGHUP, which is blocked in every thread, reads the site
// file again. Throws site::CFailure for what keeps it from beginning.
site::ExitStatus Serve(const site::SOptions& options, const SServeOptions& serveOptions, const OnEnd& onEnd,
                       const std::string& version);

} // namespace corvane::service
