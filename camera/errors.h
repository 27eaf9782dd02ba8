#pragma once

#include "host/error.h"
#include "host/video.h"

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

// The camera object has no settings yet, or the stream no settings keys.
inline CError noSettings() {
    return {RtnCode::NotSet, Origin::Handler, "property not found"};
}

// The camera does not say which of two codec families it runs, or has no alarm inputs.
inline CError notReported() {
    return {RtnCode::NotAccessible, Origin::Handler, "property not found"};
}

// Queries of a codec's settings.
inline CError deviceNotAccessible() {
    return {RtnCode::NotAccessible, Origin::General, "Device not accessible"};
}
inline CError deviceAccessFailed() {
    return {RtnCode::NotAccessible, Origin::Handler, "Device access failed"};
}
inline CError wrongCodec() {
    return {RtnCode::NotAccessible, Origin::Handler, "Wrong parameter passed- Codec Information"};
}
inline CError bitRateNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler, "VideoCodecBitRate property is not supported"};
}
inline CError qualityNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler,
            "VideoCodecQuality property is not supported for an H.264 stream"};
}
inline CError bitRateControlNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler, "VideoCodecBitrateControl property is not supported"};
}
inline CError mpeg4NotInMode() {
    return {RtnCode::NotSupported, Origin::Handler,
            "MPEG-4 stream does not support the current image ratio or resolution"};
}
inline CError bitRateOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "VideoCodecBitRate out of range"};
}

// Pan, tilt and zoom.
inline CError positionOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "PtzPosition out of range"};
}
inline CError featureNotSupported() {
    return {RtnCode::NotSupported, Origin::General, "Not supported feature"};
}

// Events of alarm inputs.
// `object`: "source bin", "source element", "source pad", "source ghostpad" or "pipeline".
inline CError eventObjectNotCreated(const std::string& object) {
    return {RtnCode::OperationFailed, Origin::Handler, "Event " + object + " could not be created."};
}

// Audio.
inline CError audioNotFound() {
    return {RtnCode::NotAccessible, Origin::Handler, "Property not found"};
}
inline CError volumeNotSupported() {
    return {RtnCode::OutOfRange, Origin::Handler, "unsupported volume value"};
}
inline CError volumeUnrecognized() {
    return {RtnCode::OperationFailed, Origin::Handler, "unrecognized volume value received from camera."};
}
inline CError streamModeNotDetected() {
    return {RtnCode::OperationFailed, Origin::Handler, "stream mode could not be detected"};
}
inline CError audioModeFailed() {
    return {RtnCode::OperationFailed, Origin::General, "failed to set audio mode"};
}
inline CError audioRtspModeFailed() {
    return {RtnCode::OperationFailed, Origin::General, "failed to set audio rtsp mode"};
}

// Audio, image and lens: what the model list does not give.
inline CError propertyNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler, "Property Not Supported"};
}

// Image and lens.
inline CError inputOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "invalid camera range"};
}
inline CError whiteBalanceOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "VpaWhiteBalance out of range"};
}
inline CError backLightOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "VpaBackLightComp out of range"};
}
inline CError superDynamicOn() {
    return {RtnCode::NotSupported, Origin::Handler,
            "Parameter not supported when Super Dynamic settings is on"};
}
inline CError propertyRefused() {
    return {RtnCode::NotSupported, Origin::Handler, "Property is not supported"};
}
inline CError videoStandardNotFound() {
    return {RtnCode::NotSupported, Origin::Handler, "property not found"};
}
inline CError lensNotFound() {
    return {RtnCode::NotSupported, Origin::Handler, "Property is not found"};
}
inline CError wideDynamicRangeOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "LensWdr out of range"};
}

// Not a failure: the recorder's record now holds what the camera accepted.
inline CError needWriteBack() {
    return {RtnCode::OperationFailed, Origin::Handler, vorn_camera_base::v1_0::NeedWriteBack};
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
