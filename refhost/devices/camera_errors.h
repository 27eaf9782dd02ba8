#pragma once

#include "refhost/base/names.h"

#include <string>

// What the operations of the base camera and of the PTZ controller fail with.
namespace corvane::refhost {

inline CError UnknownToBase(const std::string& property) {
    return {RtnCode::NotSupported, Origin::General, property + " can only be asked of the device"};
}

inline CError NotOfDevice(const std::string& what) {
    return {RtnCode::NotSupported, Origin::General, "the device has no " + what};
}

inline CError NotOfModel(RtnCode code, const std::string& what) {
    return {code, Origin::General, "the model has no " + what};
}

inline CError EmptyValue() {
    return {RtnCode::OutOfRange, Origin::General, "an empty text is no value"};
}

// Whether nothing is in the device database, which is no failure.
inline bool IsAbsent(const CError& error) {
    return error.getCode() == static_cast<int>(RtnCode::NotSet);
}

} // namespace corvane::refhost
