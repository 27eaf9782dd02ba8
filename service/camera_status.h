#pragma once

#include "site/cameras/drift.h"
#include "site/diagnosis/diagnosis.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvane::service {

using Time = std::chrono::system_clock::time_point;

enum class Health {
    Unknown,  // it has not been asked
    Up,       // it answers
    Degraded, // it answers, with a problem
    Down      // it does not, with the problem
};
// "unknown", "up", "degraded", "down".
const char* NameOf(Health health);

struct SInputLevel {
    int input = 0;                // from 0
    std::optional<bool> isActive; // absent: it has not been heard, or is not heard at the moment
    Time since;                   // of isActive
    std::uint64_t changes = 0;    // that have been heard since the service began

    // "active", "inactive", "unknown".
    const char* stateName() const { return !isActive ? "unknown" : *isActive ? "active" : "inactive"; }
};

enum class DriftState { Unknown, Same, Differs, Fault };
// "unknown", "same", "differs", "fault".
const char* NameOf(DriftState state);

// How far a camera is from what the site file wants.
struct SDrift {
    DriftState state = DriftState::Unknown;
    std::optional<Time> checked;
    std::vector<site::SComparison> differences;
    std::size_t ignored = 0; // differences that the file ignores
};

struct SRequestCounts {
    std::uint64_t succeeded = 0;
    std::uint64_t failed = 0;
};

// What the service knows of one camera.
struct SCameraStatus {
    std::string name;
    std::string address;
    std::string model;        // these three empty while they are not known
    std::string serialNumber; //
    std::string firmware;     //
    std::vector<std::string> tags;
    Health health = Health::Unknown;
    Time since; // of the health, and of the problem's cause
    std::optional<site::SDiagnosis> problem;
    std::vector<SInputLevel> inputs; // those that are watched
    SDrift drift;
    std::optional<Time> lastSuccess; // of a request to the camera
    std::optional<Time> settings;    // when they were read
    SRequestCounts requests;
};

} // namespace corvane::service
