#pragma once

#include "site/session/options.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/site/site_run.h"

#include <string>
#include <vector>

namespace corvane::vornhost {

// Examines a site's cameras, each in a process of its own: an examination identifies its camera, which the
// plug-in does for one at a time in a process.
class CSiteDoctor {
public:
    CSiteDoctor(const SOptions& options, const std::string& siteFile);

    // What `vornhost doctor` says of the camera; false where it has ended without a verdict. Callable from
    // any thread. Throws CFailure where there is no process to be had.
    bool examine(const site::SSiteCamera& camera, SCameraFinding& finding) const;

private:
    std::vector<std::string> command_; // without the camera
};

} // namespace corvane::vornhost
