#pragma once

#include "site/events/monitor_look.h"
#include "tools/vornhost/doctor/finding.h"
#include "tools/vornhost/names.h"

#include <vector>

namespace corvane::vornhost {

// Watches the alarm inputs, `count` of them, as an event stream does, until each has told a level, and asks
// for the levels in the other way too: a finding for each input. The camera is told nothing.
std::vector<SFinding> CheckInputs(int count, const AskPath& ask, const DiagnosePath& diagnose);

} // namespace corvane::vornhost
