#pragma once

#include <string>
#include <vector>

namespace corvane::site {

// What is to be done at a site's cameras, written down to be read before it is done.

struct SPlannedChange {
    std::string of; // as the output has it: "stream CHANNEL,CODEC,STREAM" or "adjustments"
    std::string field;
    std::string wanted;
    std::string camera; // what it had then; empty where it did not tell
};

bool operator==(const SPlannedChange& a, const SPlannedChange& b);

struct SPlannedCamera {
    std::string name;
    std::string address;
    std::string serialNumber; // empty where it was not asked
    std::vector<SPlannedChange> changes;
};

using SitePlan = std::vector<SPlannedCamera>;

// Throws CFileError.
SitePlan ReadPlan(const std::string& file);
void WritePlan(const std::string& file, const SitePlan& plan);

} // namespace corvane::site
