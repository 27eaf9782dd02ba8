#pragma once

#include "site/base/names.h"
#include "site/diagnosis/diagnosis.h"
#include "tools/vornhost/names.h"

#include <optional>
#include <string>

namespace corvane::vornhost {

enum class CheckResult { Ok, Warning, Fault, Skipped };

// What one check has found.
struct SFinding {
    std::string check;
    CheckResult result = CheckResult::Ok;
    double milliseconds = 0;
    std::optional<SDiagnosis> problem = {}; // of a warning and of a fault
    std::string because = {};               // the check that a skipped one needed
    std::string note = {};                  // for people: what was seen where all is well
};

SFinding Sound(const std::string& note);
SFinding Faulty(SDiagnosis problem);
SFinding Warned(SDiagnosis problem);

// {"check","result","ms","problem","because"}.
ordered_json FindingJson(const SFinding& finding);
// For eyes: a line, and below it what is wrong.
std::string FindingText(const SFinding& finding, bool colour);

} // namespace corvane::vornhost
