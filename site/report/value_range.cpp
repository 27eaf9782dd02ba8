#include "site/report/value_range.h"

#include "site/base/terminal_text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace corvane::site {
namespace {

constexpr std::size_t Bounds = 3; // lowest, highest, step

std::optional<double> NumberOf(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const bool isPlain = !text.empty() && text.find_first_not_of("0123456789.") == std::string::npos;
    return isPlain && *end == '\0' ? std::optional(number) : std::nullopt;
}

// Of "WIDTHxHEIGHT".
std::optional<double> WidthOf(const std::string& text) {
    return NumberOf(text.substr(0, text.find('x')));
}

std::optional<double> PixelsOf(const std::string& text) {
    const std::size_t by = text.find('x');
    if (by == std::string::npos)
        return std::nullopt;
    const auto width = WidthOf(text);
    const auto height = NumberOf(text.substr(by + 1));
    return width && height ? std::optional(*width * *height) : std::nullopt;
}

} // namespace

bool HasImageRatio(const std::string& resolution) {
    constexpr std::pair<double, double> Ratios[] = {{4, 3}, {16, 9}};
    const double width = WidthOf(resolution).value_or(0);
    const double height = PixelsOf(resolution).value_or(0) / width;
    return std::any_of(std::begin(Ratios), std::end(Ratios), [&](const auto& ratio) {
        return std::abs(height - width * ratio.second / ratio.first) < 1;
    });
}

CValueRange CValueRange::of(const std::optional<SAnswer>& answer) {
    CValueRange range;
    if (!answer || (answer->error && *answer->error))
        return range;
    const bool saysList =
        answer->type && *answer->type == static_cast<int>(vorn_camera_base::v1_0::CVAPI_VALUE_TYPE::List);
    range.isList_ = saysList || answer->values.size() != Bounds;
    range.values_ = answer->values;
    if (range.values_ == Texts{""})
        range.values_.clear();
    return range;
}

CValueRange CValueRange::between(const std::string& lowest, const std::string& highest,
                                 const std::string& step) {
    CValueRange range;
    range.isList_ = false;
    range.values_ = {lowest, highest, step};
    return range;
}

bool CValueRange::allows(const std::string& value, bool fromNothing) const {
    if (!isKnown() || std::find(values_.begin(), values_.end(), value) != values_.end())
        return true;
    const auto measure = PixelsOf(values_.front()) ? PixelsOf : NumberOf;
    std::optional<double> lowest;
    std::optional<double> highest;
    const auto end = isList_ ? values_.end() : values_.begin() + 2;
    for (auto one = values_.begin(); one != end; ++one) {
        const auto number = measure(*one);
        if (!number)
            return false; // words, of which it is none
        lowest = std::min(lowest.value_or(*number), *number);
        highest = std::max(highest.value_or(*number), *number);
    }
    const auto asked = measure(value);
    const bool isResolution = measure == PixelsOf;
    const bool isLarge = isResolution ? isAsWideAsOne(value) : fromNothing || (asked && *asked >= *lowest);
    return asked && *asked <= *highest && isLarge && *asked > 0;
}

// Another image ratio gives another height.
bool CValueRange::isAsWideAsOne(const std::string& resolution) const {
    return std::any_of(values_.begin(), values_.end(),
                       [&](const std::string& one) { return WidthOf(one) <= WidthOf(resolution); });
}

bool CValueRange::isRounded(const std::string& asked, const std::string& reported) const {
    const auto wanted = NumberOf(asked);
    const auto is = NumberOf(reported);
    if (!isKnown() || !wanted || !is)
        return false;
    if (!isList_)
        return std::abs(*wanted - *is) <= NumberOf(values_.back()).value_or(0);
    if (std::find(values_.begin(), values_.end(), asked) != values_.end())
        return false;
    return std::none_of(values_.begin(), values_.end(), [&](const std::string& one) {
        const auto number = NumberOf(one);
        return number && *number > std::min(*wanted, *is) && *number < std::max(*wanted, *is);
    });
}

std::string CValueRange::text() const {
    return isList_ || !isKnown() ? Join(values_, ", ")
                                 : values_[0] + " to " + values_[1] + " in steps of " + values_[2];
}

ordered_json CValueRange::toJson() const {
    if (!isKnown())
        return nullptr;
    if (isList_)
        return values_;
    ordered_json json = ordered_json::object();
    constexpr const char* Names[] = {"from", "to", "step"};
    for (std::size_t i = 0; i < Bounds; ++i) {
        const ordered_json number = ordered_json::parse(values_[i], nullptr, false);
        json[Names[i]] = number.is_number() ? number : ordered_json(values_[i]);
    }
    return json;
}

} // namespace corvane::site
