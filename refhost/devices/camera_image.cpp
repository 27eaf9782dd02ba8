// The base camera's adjustments of picture and lens: what the model list offers, and the inputs' records in
// the device database.

#include "refhost/devices/camera_base.h"

#include <algorithm>

namespace corvane::vorn_camera_base::v1_0 {
namespace {

using device_handler::v1_0::IsOffered;
using device_handler::v1_0::SAdjustment;
using device_handler::v1_0::SWhiteBalanceModel;
using device_handler::v1_0::SwitchKind;
using device_handler::v1_0::SwitchValues;

// What is told of each form behind the current value: its default, and what it may be.

std::vector<CString> ValuesOf(const SAdjustment&) {
    return {"50", "0", "100", "1"};
}

std::vector<CString> ValuesOf(const SWhiteBalanceModel& balance) {
    const std::vector<std::string>& words = balance.values;
    const auto found = std::find(words.begin(), words.end(), balance.defaultValue);
    std::vector<CString> values{
        PropertyValue(found == words.end() ? 1 : 1 + static_cast<int>(found - words.begin()))};
    for (std::size_t i = 1; i <= words.size(); ++i)
        values.push_back(PropertyValue(static_cast<int>(i)));
    return values;
}

std::vector<CString> ValuesOfSwitch() {
    return {"0", "0", "1", "1"};
}
std::vector<CString> ValuesOf(const SwitchValues&) {
    return ValuesOfSwitch();
}
std::vector<CString> ValuesOf(const SwitchKind&) {
    return ValuesOfSwitch();
}

} // namespace

CError CVornCamera::SBase::checkOffered(int input, bool isOfModel, const char* name) const {
    if (CError error = checkVideoInput(input))
        return error;
    return isOfModel ? CError::Success() : NotOfModel(RtnCode::NotSupported, name);
}

#define VORN_ADJUSTMENT(AREA, NAME, FORM, MEMBER, RECORD)                                                    \
    CError CVornCamera::set##AREA##NAME(int input, CString value) {                                          \
        if (CError error = base_->checkOffered(input, IsOffered(model().MEMBER), RECORD))                    \
            return error;                                                                                    \
        return value.empty() ? EmptyValue() : writeToInputDb(InputClass::Video, input, RECORD, value);       \
    }                                                                                                        \
    CError CVornCamera::get##AREA##NAME(int input, std::vector<CString>& values) {                           \
        if (CError error = base_->checkOffered(input, IsOffered(model().MEMBER), RECORD))                    \
            return error;                                                                                    \
        const std::vector<CString> byDefault = ValuesOf(model().MEMBER);                                     \
        CString current = byDefault.front();                                                                 \
        if (CError error = readFromInputDb(InputClass::Video, input, RECORD, current);                       \
            error && !IsAbsent(error))                                                                       \
            return error;                                                                                    \
        values.push_back(current);                                                                           \
        values.insert(values.end(), byDefault.begin(), byDefault.end());                                     \
        return CError::Success();                                                                            \
    }
#include "host/adjustments.def"

CError CVornCamera::getVpaProperties(int input, std::vector<CString>& names) {
    if (CError error = base_->checkVideoInput(input))
        return error;
    const auto add = [&names](const std::string& area, const char* name, bool isOfModel) {
        if (area == "Vpa" && isOfModel)
            names.emplace_back(area + name);
    };
#define VORN_ADJUSTMENT(AREA, NAME, FORM, MEMBER, RECORD) add(#AREA, #NAME, IsOffered(model().MEMBER));
#define VORN_DEVICE_ADJUSTMENT(AREA, NAME, TEXT) add(#AREA, #NAME, true);
#include "host/adjustments.def"
    return CError::Success();
}

} // namespace corvane::vorn_camera_base::v1_0
