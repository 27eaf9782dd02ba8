#include "camera/adjustment.h"

#include "camera/numbers.h"

#include <cstdint>

namespace corvane::panasonic_camera {

using device_handler::v1_0::COptional;

namespace {

constexpr int HighestPercent = 100;
constexpr const char* HalfWay = "50";
constexpr const char* LowestPercentText = "0";
constexpr const char* HighestPercentText = "100";
constexpr const char* StepText = "1";

struct SLimits {
    std::int32_t minimum;
    std::int32_t maximum;
};

COptional<SLimits> LimitsOf(const SAdjustment& adjustment) {
    if (adjustment.range.size() < 2)
        return {};
    const auto minimum = ParseNumber<std::int32_t>(adjustment.range[0]);
    const auto maximum = ParseNumber<std::int32_t>(adjustment.range[1]);
    if (!minimum || !maximum)
        return {};
    return SLimits{*minimum, *maximum};
}

// The recorder converts in 32 bits: what does not fit wraps around.
std::int32_t Wrapped(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

std::int32_t Scaled(std::int32_t distance, std::int32_t factor, std::int32_t divisor) {
    const std::int64_t product = Wrapped(std::int64_t{distance} * factor);
    return Wrapped(product / divisor);
}

std::string PercentOf(const SAdjustment& adjustment, const std::string& cameraValue) {
    const COptional<SLimits> limits = LimitsOf(adjustment);
    const auto value = ParseNumber<std::int32_t>(cameraValue);
    if (!limits || !value)
        return HalfWay;
    const std::int32_t width = Wrapped(std::int64_t{limits->maximum} - limits->minimum);
    if (width == 0)
        return HalfWay;
    const std::int32_t distance = Wrapped(std::int64_t{*value} - limits->minimum);
    return std::to_string(Scaled(distance, HighestPercent, width));
}

} // namespace

std::string CameraValueOf(const SAdjustment& adjustment, const CString& percent) {
    const COptional<SLimits> limits = LimitsOf(adjustment);
    const auto wanted = ParseNumber<std::int32_t>(percent.str());
    if (!limits || !wanted)
        return adjustment.defaultValue;
    const std::int32_t width = Wrapped(std::int64_t{limits->maximum} - limits->minimum);
    return std::to_string(Wrapped(std::int64_t{Scaled(width, *wanted, HighestPercent)} + limits->minimum));
}

void AppendPercentages(const SAdjustment& adjustment, const std::string& cameraValue,
                       std::vector<CString>& values) {
    values.emplace_back(PercentOf(adjustment, cameraValue));
    values.emplace_back(PercentOf(adjustment, adjustment.defaultValue));
    values.insert(values.end(), {LowestPercentText, HighestPercentText, StepText});
}

} // namespace corvane::panasonic_camera
