#pragma once

#include "tools/vornhost/names.h"
#include "tools/vornhost/report/adjustments.h"

#include <string>
#include <vector>

namespace corvane::vornhost {

struct SDifference {
    std::string of;     // "streams.CHANNEL,CODEC,STREAM" or "adjustments"
    std::string field;  // the record's, or the adjustment's name
    std::string wanted; // as the wish has it
    std::string camera; // empty where the camera does not tell

    // For people.
    std::string text() const;
};

// Holds a camera against what a recorder wants, by the plug-in's own conversions; sends no write.
class CDrift {
public:
    // The model must outlive it.
    CDrift(const SModelInfo& model, AskCamera ask) : model_(model), ask_(std::move(ask)) {}

    // `wish`: {"streams":[{"stream","record":{field: value}}],"adjustments":{name: value}}. Throws CFailure
    // for a wish that cannot be read.
    std::vector<SDifference> between(const ordered_json& wish) const;

    // The wish in a file. Throws CFailure.
    static ordered_json read(const std::string& file);

private:
    void compareStream(const std::string& id, const ordered_json& record,
                       std::vector<SDifference>& differences) const;
    void compareAdjustments(const ordered_json& wish, std::vector<SDifference>& differences) const;

    const SModelInfo& model_;
    const AskCamera ask_;
};

} // namespace corvane::vornhost
