// The base camera's alarm inputs: numbers from the model list, active levels in the device database.

#include "refhost/devices/camera_base.h"

#include <algorithm>
#include <limits>

namespace corvane::vorn_camera_base::v1_0 {
namespace {

constexpr const char* ActiveStateKey = "active_state";

} // namespace

int CVornCamera::inputBase(int property) const {
    const auto found = model().indexBase.find(property);
    return found == model().indexBase.end() ? 0 : found->second;
}

int CVornCamera::reIndex(int input, int property) const {
    return static_cast<int>(std::clamp<long long>(static_cast<long long>(input) + inputBase(property),
                                                  std::numeric_limits<int>::min(),
                                                  std::numeric_limits<int>::max()));
}

CError CVornCamera::getDryContactInputProperties(std::vector<CString>& names) {
    names.insert(names.end(), {"DryContactInputProperties", "DryContactInputCount",
                               "DryContactInputActiveState", "DryContactInputState"});
    return CError::Success();
}

CError CVornCamera::setDryContactInputActiveState(int input, CString level) {
    if (input < 0 || (level != ActiveLow && level != ActiveHigh))
        return {RtnCode::OutOfRange, Origin::General, "an alarm input's active level is LOW or HIGH"};
    return writeToInputDb(InputClass::DryContact, input, ActiveStateKey, level);
}

CError CVornCamera::getDryContactInputActiveState(int input, std::vector<CString>& values) {
    CString level;
    CError error = readFromInputDb(InputClass::DryContact, input, ActiveStateKey, level);
    if (error && !IsAbsent(error))
        return error;
    values.insert(values.end(),
                  {level.empty() ? CString(ActiveLow) : level, ActiveLow, ActiveLow, ActiveHigh});
    return CError::Success();
}

CError CVornCamera::createEventStreamPipeline(IStreamController*&, int) {
    return refhost::UnknownToBase("events");
}

} // namespace corvane::vorn_camera_base::v1_0
