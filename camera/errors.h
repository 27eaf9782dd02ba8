#pragma once

#include "host/error.h"
#include "host/video.h"

// The plug-in's errors: each code, origin and text once.
namespace corvane::panasonic_camera::errors {

using device_handler::v1_0::CError;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;

inline CError AuthenticationNotSet() {
    return {RtnCode::NotSet, Origin::Handler, "Authentication is not set !"};
}
inline CError AuthenticationUnavailable() {
    return {RtnCode::AuthenticationFailed, Origin::Handler, "Unable to get Authentication data"};
}
inline CError BadAuthentication() {
    return {RtnCode::AuthenticationFailed, Origin::Handler, "Bad Authentication"};
}
inline CError DeviceDbUnavailable() {
    return {RtnCode::DeviceDbUnavailable, Origin::Handler, "unable to create device DB proxy"};
}

// The camera object has no settings yet, or the stream no settings keys.
inline CError NoSettings() {
    return {RtnCode::NotSet, Origin::Handler, "property not found"};
}

// The camera does not say which of two codec families it runs, or has no alarm inputs.
inline CError NotReported() {
    return {RtnCode::NotAccessible, Origin::Handler, "property not found"};
}

// Queries of a codec's settings.
inline CError DeviceNotAccessible() {
    return {RtnCode::NotAccessible, Origin::General, "Device not accessible"};
}
inline CError DeviceAccessFailed() {
    return {RtnCode::NotAccessible, Origin::Handler, "Device access failed"};
}
inline CError WrongCodec() {
    return {RtnCode::NotAccessible, Origin::Handler, "Wrong parameter passed- Codec Information"};
}
inline CError BitRateNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler, "VideoCodecBitRate property is not supported"};
}
inline CError QualityNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler,
            "VideoCodecQuality property is not supported for an H.264 stream"};
}
inline CError BitRateControlNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler, "VideoCodecBitrateControl property is not supported"};
}
inline CError Mpeg4NotInMode() {
    return {RtnCode::NotSupported, Origin::Handler,
            "MPEG-4 stream does not support the current image ratio or resolution"};
}
inline CError BitRateOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "VideoCodecBitRate out of range"};
}

// Pan, tilt and zoom.
inline CError PositionOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "PtzPosition out of range"};
}
inline CError FeatureNotSupported() {
    return {RtnCode::NotSupported, Origin::General, "Not supported feature"};
}

// Events of alarm inputs.
// `object`: "source bin", "source element", "source pad", "source ghostpad" or "pipeline".
inline CError EventObjectNotCreated(const std::string& object) {
    return {RtnCode::OperationFailed, Origin::Handler, "Event " + object + " could not be created."};
}

// Audio.
inline CError AudioNotFound() {
    return {RtnCode::NotAccessible, Origin::Handler, "Property not found"};
}
inline CError VolumeNotSupported() {
    return {RtnCode::OutOfRange, Origin::Handler, "unsupported volume value"};
}
inline CError VolumeUnrecognized() {
    return {RtnCode::OperationFailed, Origin::Handler, "unrecognized volume value received from camera."};
}
inline CError StreamModeNotDetected() {
    return {RtnCode::OperationFailed, Origin::Handler, "stream mode could not be detected"};
}
inline CError AudioModeFailed() {
    return {RtnCode::OperationFailed, Origin::General, "failed to set audio mode"};
}
inline CError AudioRtspModeFailed() {
    return {RtnCode::OperationFailed, Origin::General, "failed to set audio rtsp mode"};
}

// Audio, image and lens: what the model list does not give.
inline CError PropertyNotSupported() {
    return {RtnCode::NotSupported, Origin::Handler, "Property Not Supported"};
}

// Image and lens.
inline CError InputOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "invalid camera range"};
}
inline CError WhiteBalanceOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "VpaWhiteBalance out of range"};
}
inline CError BackLightOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "VpaBackLightComp out of range"};
}
inline CError SuperDynamicOn() {
    return {RtnCode::NotSupported, Origin::Handler,
            "Parameter not supported when Super Dynamic settings is on"};
}
inline CError PropertyRefused() {
    return {RtnCode::NotSupported, Origin::Handler, "Property is not supported"};
}
inline CError VideoStandardNotFound() {
    return {RtnCode::NotSupported, Origin::Handler, "property not found"};
}
inline CError LensNotFound() {
    return {RtnCode::NotSupported, Origin::Handler, "Property is not found"};
}
inline CError WideDynamicRangeOutOfRange() {
    return {RtnCode::OutOfRange, Origin::Handler, "LensWdr out of range"};
}

// Not a failure: the recorder's record now holds what the camera accepted.
inline CError NeedWriteBack() {
    return {RtnCode::OperationFailed, Origin::Handler, vorn_camera_base::v1_0::NeedWriteBack};
}

// A POST that did not end in status 200; the code tells no status, 401, and any other apart.
inline CError CgiRequestFailed(RtnCode code) {
    return {code, Origin::Device, "CGI request failed !!"};
}

// Why a query thread did not identify the device.
inline CError QueryStopped() {
    return {RtnCode::OperationFailed, Origin::Handler, "Querying is stopped by other thread."};
}
inline CError ModelNumberEmpty() {
    return {RtnCode::OperationFailed, Origin::Handler, "Model number is empty."};
}
inline CError FamilyNotMatched() {
    return {RtnCode::OperationFailed, Origin::Handler, "Family not matched."};
}
inline CError SerialNumberEmpty() {
    return {RtnCode::OperationFailed, Origin::Handler, "Serial number is empty."};
}

} // namespace corvane::panasonic_camera::errors
