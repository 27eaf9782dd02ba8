#pragma once

#include "site/base/names.h"

#include <optional>
#include <string>

namespace corvane::site {

// Whether "WIDTHxHEIGHT" is of 4:3 or 16:9, as the cameras' pictures are, to the nearest line.
bool HasImageRatio(const std::string& resolution);

// What a setting of a camera may be, as the plug-in tells it: a list, or the lowest, the highest and the
// step.
class CValueRange {
public:
    // Of the answer to a range query; one that failed, or told nothing, lets everything pass.
    static CValueRange of(const std::optional<SAnswer>& answer);
    static CValueRange between(const std::string& lowest, const std::string& highest,
                               const std::string& step);

    // Whether the camera can be asked for it. Between the lowest and the highest a value is rounded, so it
    // has to be no step; a resolution ("WIDTHxHEIGHT") must not be larger than the largest, nor less wide
    // than the narrowest. `fromNothing`: from any number above 0 on, instead of the lowest.
    bool allows(const std::string& value, bool fromNothing = false) const;

    // Whether a camera that was asked for one number, which it does not have, may report the other: none of
    // its own lies between.
    bool isRounded(const std::string& asked, const std::string& reported) const;

    // "10 to 100 in steps of 10", "1, 2, 5"; empty where nothing is known.
    std::string text() const;
    // null, {"from","to","step"}, or a list.
    ordered_json toJson() const;

private:
    bool isKnown() const { return !values_.empty(); }
    bool isAsWideAsOne(const std::string& resolution) const;

    bool isList_ = true;
    Texts values_;
};

} // namespace corvane::site
