#pragma once

#include "host/error.h"

// The plug-in's errors: each code, origin and text once.
namespace corvane::panasonic_camera::errors {

using device_handler::v1_0::CError;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;

inline CError authenticationNotSet() {
    return {RtnCode::NotSet, Origin::Handler, "Authentication is not set !"};
}
inline CError authenticationUnavailable() {
    return {RtnCode::AuthenticationFailed, Origin::Handler, "Unable to get Authentication data"};
}
inline CError badAuthentication() {
    return {RtnCode::AuthenticationFailed, Origin::Handler, "Bad Authentication"};
}
inline CError deviceDbUnavailable() {
    return {RtnCode::DeviceDbUnavailable, Origin::Handler, "unable to create device DB proxy"};
}

// The camera object has no settings yet.
inline CError noSettings() {
    return {RtnCode::NotSet, Origin::Handler, "property not found"};
}

// A POST that did not end in status 200; the code tells no status, 401, and any other apart.
inline CError cgiRequestFailed(RtnCode code) {
    return {code, Origin::Device, "CGI request failed !!"};
}

// Why a query thread did not identify the device.
inline CError queryStopped() {
    return {RtnCode::OperationFailed, Origin::Handler, "Querying is stopped by other thread."};
}
inline CError modelNumberEmpty() {
    return {RtnCode::OperationFailed, Origin::Handler, "Model number is empty."};
}
inline CError familyNotMatched() {
    return {RtnCode::OperationFailed, Origin::Handler, "Family not matched."};
}
inline CError serialNumberEmpty() {
    return {RtnCode::OperationFailed, Origin::Handler, "Serial number is empty."};
}

} // namespace corvane::panasonic_camera::errors
