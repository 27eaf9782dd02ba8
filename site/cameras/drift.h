#pragma once

#include "site/base/names.h"
#include "site/diagnosis/diagnosis.h"
#include "site/report/adjustments.h"
#include "site/report/value_range.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// SComparison::of of an adjustment; that of a stream is this prefix with the stream's name behind it.
inline constexpr const char* OfAdjustments = "adjustments";
inline constexpr const char* OfStreamPrefix = "streams.";

// What the camera has of one value that a recorder wants.
struct SComparison {
    enum class Match {
        Same,    // also where the plug-in's own conversion makes one of both
        Rounded, // what a camera may make of it that does not have the value
        Different
    };

    std::string of;
    std::string field;  // the record's, or the adjustment's name
    std::string wanted; // as the wish has it
    std::string camera; // empty where the camera does not tell
    Match match = Match::Same;

    // For people.
    std::string text() const;
};

// Holds a camera against what a recorder wants, by the plug-in's own conversions; sends no write.
class CDrift {
public:
    // The model must outlive it.
    CDrift(const SModelInfo& model, AskCamera ask) : model_(model), ask_(std::move(ask)) {}

    // `wish`: {"streams":[{"stream","record":{field: value}}],"adjustments":{name: value}}. All of its values
    // in their order. Throws CFailure for a wish that cannot be read.
    std::vector<SComparison> compare(const ordered_json& wish) const;
    // What of them is different.
    std::vector<SComparison> between(const ordered_json& wish) const;
    // Why this camera can never have the wish: a value out of its range, a stream or an adjustment that it
    // lacks.
    std::optional<SDiagnosis> impossible(const ordered_json& wish) const;
    // Why a difference cannot be set, though it can be seen.
    static std::optional<SDiagnosis> unsettable(const SComparison& difference);

    // The stream's record, as an argument of operations, with the wished fields in it; empty for no stream of
    // the camera.
    std::string recordWith(const std::string& id, const ordered_json& record) const;

    // The wish in a file. Throws CFailure.
    static ordered_json read(const std::string& file);

private:
    // A stream's record: what the camera has, and what it would have if the wish were set.
    struct SView {
        std::map<std::string, std::string> now;
        std::map<std::string, std::string> accepted;
    };

    std::optional<SAnswer> answer(const std::string& operation, const Texts& arguments) const;
    SView view(const std::string& id, const ordered_json& record) const;
    bool isRounded(const std::string& id, const std::string& field, const std::string& wantedRate,
                   SView& view) const;
    static bool isResolution(const std::string& value, SView& view);
    std::optional<SDiagnosis> impossibleStream(const std::string& id, const ordered_json& record) const;
    CValueRange resolutions(const SVideoStreamId& stream) const;
    std::optional<SDiagnosis> impossibleAdjustment(const ordered_json& adjustments) const;
    void compareStream(const std::string& id, const ordered_json& record,
                       std::vector<SComparison>& comparisons) const;
    void compareAdjustments(const ordered_json& wish, std::vector<SComparison>& comparisons) const;

    const SModelInfo& model_;
    const AskCamera ask_;
};

} // namespace corvane::site
