#pragma once

#include "site/diagnosis/exchange_watch.h"
#include "tools/vornhost/names.h"

#include <string>
#include <vector>

namespace corvane::vornhost {

// What a support desk needs of one visit.
struct SBundleContent {
    std::string report;                      // as it was shown
    std::string findings;                    // JSON lines
    std::vector<SWatchedExchange> exchanges; // with their details
    std::string log;
    std::string versions;
};

// Writes a gzipped tar archive that only the user may read, secrets masked in all of it, and answers what it
// holds, for people. Throws CFailure where the file cannot be written.
std::string WriteBundle(const std::string& file, const SBundleContent& content);

} // namespace corvane::vornhost
