#pragma once

#include "benchmarks/environment.h"

#include <string>

// Each workload registers the benchmarks of its figures, under the names that the table in main.cpp has,
// having made what they need. The environment must outlive them. A benchmark throws CFailure when what it
// measures fails.
namespace corvane::bench {

void RegisterFleet(CEnvironment& environment);
void RegisterStartUp(CEnvironment& environment);
void RegisterRequest(CEnvironment& environment);
void RegisterCacheRead(CEnvironment& environment);
void RegisterSettingsParse(CEnvironment& environment);
void RegisterVideo(CEnvironment& environment);
void RegisterPtz(CEnvironment& environment);
void RegisterEvents(CEnvironment& environment);
void RegisterSite(CEnvironment& environment);
void RegisterService(CEnvironment& environment);
void RegisterShow(CEnvironment& environment);
void RegisterPacedShow(CEnvironment& environment);
void RegisterLarge(CEnvironment& environment);

} // namespace corvane::bench
