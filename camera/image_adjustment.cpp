// The picture's adjustments: the recorder's percentages and list positions as the camera's values and words.

#include "camera/adjustment.h"
#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/numbers.h"
#include "camera/panasonic_camera.h"
#include "camera/setting_keys.h"

#include <algorithm>

namespace corvane::panasonic_camera {

using device_handler::v1_0::IsOffered;
using device_handler::v1_0::PropertyValue;
using device_handler::v1_0::SAdjustment;

namespace {

constexpr const char* Step = "1";
constexpr int FirstPosition = 1;

// The last place of a word in the list, counted from 1; 0 when it is not there.
int PositionOf(const std::vector<std::string>& words, const std::string& word) {
    const auto last = std::find(words.rbegin(), words.rend(), word);
    return static_cast<int>(words.rend() - last);
}

} // namespace

CError CPanasonicCamera::checkOffered(int input, bool isOfModel) const {
    if (input >= model().videoInputs) // a negative one passes
        return errors::InputOutOfRange();
    return isOfModel ? CError::Success() : errors::PropertyNotSupported();
}

// The percentages.
#define VORN_IMAGE_ADJUSTMENT(NAME, MEMBER, KEY, OTHER_KEY, QUERY)                                           \
    CError CPanasonicCamera::setVpa##NAME(int /*input*/, CString percent) {                                  \
        return writeSetting(cgi::ImageAdjust, QUERY + CameraValueOf(model().MEMBER, percent));               \
    }                                                                                                        \
    CError CPanasonicCamera::getVpa##NAME(int input, std::vector<CString>& values) {                         \
        return readAdjustment(model().MEMBER, {KEY, OTHER_KEY}, input, values);                              \
    }
#include "camera/image_adjustments.def"

CError CPanasonicCamera::readAdjustment(const SAdjustment& ofModel, std::initializer_list<const char*> keys,
                                        int input, std::vector<CString>& values) {
    if (CError error = checkOffered(input, IsOffered(ofModel)))
        return error;
    const std::string value = firstSetting(keys);
    if (value.empty())
        return errors::DeviceNotAccessible();
    AppendPercentages(ofModel, value, values);
    return CError::Success();
}

CError CPanasonicCamera::setVpaWhiteBalance(int /*input*/, CString position) {
    const std::vector<std::string>& words = model().whiteBalance.values;
    const auto number = ParseNumber<int>(position.str());
    if (!number || *number < FirstPosition || static_cast<std::size_t>(*number) > words.size())
        return errors::WhiteBalanceOutOfRange();
    return writeSetting(cgi::ImageAdjust,
                        cgi::ImageWhiteBalance + words[static_cast<std::size_t>(*number - FirstPosition)]);
}

CError CPanasonicCamera::getVpaWhiteBalance(int input, std::vector<CString>& values) {
    const std::vector<std::string>& words = model().whiteBalance.values;
    if (CError error = checkOffered(input, IsOffered(model().whiteBalance)))
        return error;
    const std::string word = firstSetting({key::WhiteBalance, key::WhiteBalanceShort});
    if (word.empty())
        return errors::DeviceNotAccessible();
    const int byDefault = std::max(PositionOf(words, model().whiteBalance.defaultValue), FirstPosition);
    const int current = PositionOf(words, word);
    values.push_back(PropertyValue(current == 0 ? byDefault : current));
    values.push_back(PropertyValue(byDefault));
    for (std::size_t i = 0; i < words.size(); ++i)
        values.push_back(PropertyValue(static_cast<int>(i) + FirstPosition));
    return CError::Success();
}

CError CPanasonicCamera::setVpaBackLightComp(int /*input*/, CString onOff) {
    if (onOff.empty())
        return errors::BackLightOutOfRange();
    // Other than for reading, only this one of the super dynamic settings counts.
    if (cameraSetting(key::MegaSuperDynamic) == On)
        return errors::SuperDynamicOn();
    return writeSetting(cgi::ImageAdjust,
                        std::string(cgi::ImageBackLight) + (onOff == CString(On) ? On : Off));
}

CError CPanasonicCamera::getVpaBackLightComp(int input, std::vector<CString>& values) {
    if (CError error = checkOffered(input, IsOffered(model().backLightCompensation)))
        return error;
    if (superDynamicState() == On) {
        values.emplace_back(Off);
        return CError::Success();
    }
    values.insert(values.end(), {cameraSetting(key::BackLight) == On ? On : Off, Off, Off, On, Step});
    return CError::Success();
}

CError CPanasonicCamera::setVpaVideoStandard(int /*input*/, CString /*standard*/) {
    return errors::PropertyRefused();
}
CError CPanasonicCamera::getVpaVideoStandard(int /*input*/, std::vector<CString>& /*values*/) {
    return errors::VideoStandardNotFound();
}

CError CPanasonicCamera::getVpaProperties(int input, std::vector<CString>& names) {
    std::vector<CString> all;
    if (CError error = CVornCamera::getVpaProperties(input, all))
        return error;
    const bool hasBackLight = !cameraSetting(key::BackLight).empty();
    std::copy_if(all.begin(), all.end(), std::back_inserter(names), [hasBackLight](const CString& name) {
        return name != CString("VpaVideoStandard") && (hasBackLight || name != CString("VpaBackLightComp"));
    });
    return CError::Success();
}

// Cameras call it by one of three names.
std::string CPanasonicCamera::superDynamicState() const {
    return firstSetting({key::MegaSuperDynamic, key::SuperDynamic3, key::WideDynamicRange});
}

std::string CPanasonicCamera::firstSetting(std::initializer_list<const char*> keys) const {
    for (const char* key : keys)
        if (std::string value = key ? cameraSetting(key) : std::string(); !value.empty())
            return value;
    return {};
}

} // namespace corvane::panasonic_camera
