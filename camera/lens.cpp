// The lens: focus, and the wide dynamic range in the way that the model has it.

#include "camera/adjustment.h"
#include "camera/cgi_paths.h"
#include "camera/errors.h"
#include "camera/panasonic_camera.h"
#include "camera/setting.h"
#include "camera/setting_keys.h"

namespace corvane::panasonic_camera {

namespace {

// The model's kind of dynamic-range control.
constexpr const char* Generic = "Generic";
constexpr const char* Conditional = "Conditional";
constexpr const char* AdaptiveBlackStretchOnly = "AdaptiveBlackStretchOnly";

} // namespace

CError CPanasonicCamera::setLensFocus(int /*input*/, CString percent) {
    return writeSettingNoReload(cgi::AbsctrlFocus + CameraValueOf(model().focus, percent), "");
}

CError CPanasonicCamera::getLensFocus(int input, std::vector<CString>& values) {
    if (CError error = checkOffered(input, IsOffered(model().focus)))
        return error;
    const std::string value =
        setting ? setting->GetDetailsFromUrl(cgi::AbsgetPosition, std::string("FOCUS=")) : std::string();
    if (value.empty())
        return errors::LensNotFound();
    AppendPercentages(model().focus, value, values);
    return CError::Success();
}

CError CPanasonicCamera::setLensAutoFocus(int /*input*/, CString value) {
    if (value != CString(On))
        return CError::Success();
    return writeSettingNoReload(cgi::CamctrlAutoFocus, "");
}

CError CPanasonicCamera::getLensAutoFocus(int /*input*/, std::vector<CString>& values) {
    values.insert(values.end(), {Off, Off, Off, On});
    return CError::Success();
}

// Whether a model of the conditional kind lets it be set: by its capture size and its exposure mode.
bool CPanasonicCamera::canSetWideDynamicRange() const {
    const std::string size = cameraSetting(key::ImageSelect);
    if (!size.empty() && size != "1.3m" && size != "2m")
        return false;
    const std::string exposure = cameraSetting(key::ExposureMode);
    return !exposure.empty() && exposure != "elc" && exposure != "alc";
}

CError CPanasonicCamera::setLensWdr(int /*input*/, CString value) {
    if (value.empty())
        return errors::WideDynamicRangeOutOfRange();
    if (model().dynamicRange == Conditional && !canSetWideDynamicRange())
        return errors::LensNotFound();
    const char* const parameter = model().dynamicRange == AdaptiveBlackStretchOnly
                                      ? cgi::ImageDarkCompensation
                                      : cgi::ImageSuperDynamic;
    return writeSetting(cgi::ImageAdjust, parameter + value.str());
}

CError CPanasonicCamera::getLensWdr(int /*input*/, std::vector<CString>& values) {
    const std::string& kind = model().dynamicRange;
    if (kind != Generic && kind != Conditional && kind != AdaptiveBlackStretchOnly)
        return errors::LensNotFound();
    const std::string state =
        kind == AdaptiveBlackStretchOnly ? cameraSetting(key::DarkCompensation) : superDynamicState();
    values.emplace_back(state == On ? On : Off);
    if (kind != Conditional || canSetWideDynamicRange())
        values.insert(values.end(), {Off, Off, On});
    return CError::Success();
}

CError CPanasonicCamera::setLensDayNightMode(int /*input*/, CString /*value*/) {
    return errors::PropertyRefused();
}
CError CPanasonicCamera::getLensDayNightMode(int /*input*/, std::vector<CString>& /*values*/) {
    return errors::PropertyRefused();
}
CError CPanasonicCamera::setLensIris(int /*input*/, CString /*value*/) {
    return errors::PropertyRefused();
}
CError CPanasonicCamera::getLensIris(int /*input*/, std::vector<CString>& /*values*/) {
    return errors::PropertyRefused();
}
CError CPanasonicCamera::setLensAutoIris(int /*input*/, CString /*value*/) {
    return errors::PropertyRefused();
}
CError CPanasonicCamera::getLensAutoIris(int /*input*/, std::vector<CString>& /*values*/) {
    return errors::PropertyRefused();
}

} // namespace corvane::panasonic_camera
