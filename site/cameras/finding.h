#pragma once

#include "site/cameras/drift.h"
#include "site/diagnosis/diagnosis.h"
#include "site/site_file.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// The order is that in which they need attention.
enum class CameraState { Fault, NotAccepted, Differs, Changed, Same };
const char* NameOf(CameraState state);

// A value that was set.
struct SChange {
    SComparison before;
    std::string after; // what the camera has since
};

// What is known of one of a site's cameras.
struct SCameraFinding {
    const SSiteCamera* camera = nullptr;
    CameraState state = CameraState::Same;
    std::vector<SComparison> differences;
    std::vector<SChange> changes;
    std::size_t ignored = 0; // differences that the file ignores
    std::optional<SDiagnosis> problem;
    std::vector<ordered_json> checks; // of the doctor, that have found something; as programs read them
    std::string serialNumber;         // empty where the camera was not asked
    std::string model;                // as far as they are known
    std::string firmware;             // likewise
    double milliseconds = 0;
};

// "stream 0,h264,0" for "streams.0,h264,0"; "adjustments" stays as it is.
std::string ToldOf(const std::string& of);

ordered_json DifferencesJson(const std::vector<SComparison>& differences);
ordered_json ChangesJson(const std::vector<SChange>& changes);
ordered_json FindingJson(const SCameraFinding& finding);

} // namespace corvane::site
