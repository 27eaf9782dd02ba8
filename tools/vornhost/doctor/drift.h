#pragma once

#include "tools/vornhost/names.h"
#include "tools/vornhost/report/adjustments.h"

#include <string>

namespace corvane::vornhost {

// Holds a camera against what a recorder wants, by the plug-in's own conversions; sends no write.
class CDrift {
public:
    // The model must outlive it.
    CDrift(const SModelInfo& model, AskCamera ask) : model_(model), ask_(std::move(ask)) {}

    // `wish`: {"streams":[{"stream","record":{field: value}}],"adjustments":{name: value}}. A line for each
    // difference. Throws CFailure for a wish that cannot be read.
    Texts between(const ordered_json& wish) const;

    // The wish in a file. Throws CFailure.
    static ordered_json read(const std::string& file);

private:
    void compareStream(const std::string& id, const ordered_json& record, Texts& differences) const;
    void compareAdjustments(const ordered_json& wish, Texts& differences) const;

    const SModelInfo& model_;
    const AskCamera ask_;
};

} // namespace corvane::vornhost
