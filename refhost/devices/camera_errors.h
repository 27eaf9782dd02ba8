#pragma once

#include "host/error.h"

#include <string>

// What the operations of the base camera and of the PTZ controller fail with.
namespace corvane::refhost {

inline device_handler::v1_0::CError UnknownToBase(const std::string& property) {
    return {device_handler::v1_0::RtnCode::NotSupported, device_handler::v1_0::Origin::General,
            property + " can only be asked of the device"};
}

inline device_handler::v1_0::CError NotOfDevice(const std::string& what) {
    return {device_handler::v1_0::RtnCode::NotSupported, device_handler::v1_0::Origin::General,
            "the device has no " + what};
}

inline device_handler::v1_0::CError NotOfModel(device_handler::v1_0::RtnCode code, const std::string& what) {
    return {code, device_handler::v1_0::Origin::General, "the model has no " + what};
}

inline device_handler::v1_0::CError EmptyValue() {
    return {device_handler::v1_0::RtnCode::OutOfRange, device_handler::v1_0::Origin::General,
            "an empty text is no value"};
}

// Whether nothing is in the device database, which is no failure.
inline bool IsAbsent(const device_handler::v1_0::CError& error) {
    return error.getCode() == static_cast<int>(device_handler::v1_0::RtnCode::NotSet);
}

} // namespace corvane::refhost
