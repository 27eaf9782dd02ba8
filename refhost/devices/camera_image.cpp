// The base camera's picture and lens adjustments: what the model list offers, and the inputs' records in the
// device database.

#include "host/camera.h"
#include "refhost/devices/camera_errors.h"

#include <algorithm>

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::PropertyValue;
using device_handler::v1_0::RtnCode;
using refhost::EmptyValue;
using refhost::IsAbsent;
using refhost::NotOfModel;

constexpr const char* BrightnessKey = "brightness";
constexpr const char* SharpnessKey = "sharpness";
constexpr const char* SaturationKey = "saturation";
constexpr const char* WhiteBalanceKey = "whitebalance";
constexpr const char* BackLightKey = "blc";
constexpr const char* FocusKey = "focus";
constexpr const char* WideDynamicRangeKey = "wdr";

constexpr const char* DefaultPercent = "50";
constexpr const char* LowestPercent = "0";
constexpr const char* HighestPercent = "100";
constexpr const char* Step = "1";
constexpr const char* Off = "0";
constexpr const char* On = "1";

CError notOfBase(const std::string& what) {
    return NotOfModel(RtnCode::NotSupported, what);
}

} // namespace

CError CVornCamera::writeInputValue(int input, const char* property, bool isOfModel, const CString& value) {
    if (CError error = checkVideoInput(input))
        return error;
    if (!isOfModel)
        return notOfBase(property);
    return value.empty() ? EmptyValue() : writeToInputDb(InputClass::Video, input, property, value);
}

CError CVornCamera::readInputValue(int input, const char* property, bool isOfModel, CString& value) {
    if (CError error = checkVideoInput(input))
        return error;
    if (!isOfModel)
        return notOfBase(property);
    CError error = readFromInputDb(InputClass::Video, input, property, value);
    return IsAbsent(error) ? CError::Success() : error;
}

CError CVornCamera::readPercent(int input, const char* property, const SAdjustment& adjustment,
                                std::vector<CString>& values) {
    CString current(DefaultPercent);
    if (CError error = readInputValue(input, property, !adjustment.range.empty(), current))
        return error;
    values.insert(values.end(), {current, DefaultPercent, LowestPercent, HighestPercent, Step});
    return CError::Success();
}

CError CVornCamera::readSwitch(int input, const char* property, bool isOfModel,
                               std::vector<CString>& values) {
    CString current(Off);
    if (CError error = readInputValue(input, property, isOfModel, current))
        return error;
    values.insert(values.end(), {current, Off, Off, On, Step});
    return CError::Success();
}

CError CVornCamera::setVpaBrightness(int input, CString percent) {
    return writeInputValue(input, BrightnessKey, !model().brightness.range.empty(), percent);
}
CError CVornCamera::getVpaBrightness(int input, std::vector<CString>& values) {
    return readPercent(input, BrightnessKey, model().brightness, values);
}
CError CVornCamera::setVpaSharpness(int input, CString percent) {
    return writeInputValue(input, SharpnessKey, !model().sharpness.range.empty(), percent);
}
CError CVornCamera::getVpaSharpness(int input, std::vector<CString>& values) {
    return readPercent(input, SharpnessKey, model().sharpness, values);
}
CError CVornCamera::setVpaSaturation(int input, CString percent) {
    return writeInputValue(input, SaturationKey, !model().saturation.range.empty(), percent);
}
CError CVornCamera::getVpaSaturation(int input, std::vector<CString>& values) {
    return readPercent(input, SaturationKey, model().saturation, values);
}

CError CVornCamera::setVpaWhiteBalance(int input, CString position) {
    return writeInputValue(input, WhiteBalanceKey, !model().whiteBalance.values.empty(), position);
}

CError CVornCamera::getVpaWhiteBalance(int input, std::vector<CString>& values) {
    const std::vector<std::string>& words = model().whiteBalance.values;
    const auto found = std::find(words.begin(), words.end(), model().whiteBalance.defaultValue);
    const CString byDefault =
        PropertyValue(found == words.end() ? 1 : 1 + static_cast<int>(found - words.begin()));
    CString current = byDefault;
    if (CError error = readInputValue(input, WhiteBalanceKey, !words.empty(), current))
        return error;
    values.insert(values.end(), {current, byDefault});
    for (std::size_t i = 1; i <= words.size(); ++i)
        values.push_back(PropertyValue(static_cast<int>(i)));
    return CError::Success();
}

CError CVornCamera::setVpaBackLightComp(int input, CString onOff) {
    return writeInputValue(input, BackLightKey, !model().backLightCompensation.empty(), onOff);
}
CError CVornCamera::getVpaBackLightComp(int input, std::vector<CString>& values) {
    return readSwitch(input, BackLightKey, !model().backLightCompensation.empty(), values);
}
CError CVornCamera::setVpaVideoStandard(int, CString) {
    return notOfBase("video standard");
}
CError CVornCamera::getVpaVideoStandard(int, std::vector<CString>&) {
    return notOfBase("video standard");
}

CError CVornCamera::getVpaProperties(int input, std::vector<CString>& names) {
    if (CError error = checkVideoInput(input))
        return error;
    const struct {
        const char* name;
        bool isOfModel;
    } Adjustments[] = {
        {"VpaBrightness", !model().brightness.range.empty()},
        {"VpaSharpness", !model().sharpness.range.empty()},
        {"VpaSaturation", !model().saturation.range.empty()},
        {"VpaWhiteBalance", !model().whiteBalance.values.empty()},
        {"VpaBackLightComp", !model().backLightCompensation.empty()},
        {"VpaVideoStandard", true},
    };
    for (const auto& adjustment : Adjustments)
        if (adjustment.isOfModel)
            names.emplace_back(adjustment.name);
    return CError::Success();
}

CError CVornCamera::setLensFocus(int input, CString percent) {
    return writeInputValue(input, FocusKey, !model().focus.range.empty(), percent);
}
CError CVornCamera::getLensFocus(int input, std::vector<CString>& values) {
    return readPercent(input, FocusKey, model().focus, values);
}
CError CVornCamera::setLensWdr(int input, CString value) {
    return writeInputValue(input, WideDynamicRangeKey, !model().dynamicRange.empty(), value);
}
CError CVornCamera::getLensWdr(int input, std::vector<CString>& values) {
    return readSwitch(input, WideDynamicRangeKey, !model().dynamicRange.empty(), values);
}

CError CVornCamera::setLensAutoFocus(int, CString) {
    return notOfBase("auto focus");
}
CError CVornCamera::getLensAutoFocus(int, std::vector<CString>&) {
    return notOfBase("auto focus");
}
CError CVornCamera::setLensDayNightMode(int, CString) {
    return notOfBase("day and night mode");
}
CError CVornCamera::getLensDayNightMode(int, std::vector<CString>&) {
    return notOfBase("day and night mode");
}
CError CVornCamera::setLensIris(int, CString) {
    return notOfBase("iris");
}
CError CVornCamera::getLensIris(int, std::vector<CString>&) {
    return notOfBase("iris");
}
CError CVornCamera::setLensAutoIris(int, CString) {
    return notOfBase("auto iris");
}
CError CVornCamera::getLensAutoIris(int, std::vector<CString>&) {
    return notOfBase("auto iris");
}

} // namespace corvane::vorn_camera_base::v1_0
