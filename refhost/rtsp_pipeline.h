#pragma once

#include "host/authentication.h"
#include "host/error.h"
#include "host/stream_controller.h"
#include "host/stream_id.h"

#include <string>

namespace corvane::refhost {

// What the failures of an RTSP stream begin with; a status line follows the first ("404 Not Found").
namespace rtsp_failure {
inline constexpr const char* Status = "RTSP status ";
inline constexpr const char* HostNotFound = "host not found";
inline constexpr const char* Refused = "connection refused";
inline constexpr const char* NotConnected = "no connection";
inline constexpr const char* TimedOut = "timed out";
inline constexpr const char* Closed = "connection closed";
inline constexpr const char* WrongCodec = "wrong codec";
inline constexpr const char* NoVideo = "no video in the stream";
} // namespace rtsp_failure

// Builds the pipeline that receives a video stream over RTSP, interleaved in its TCP connection; nothing is
// sent before the start. Whole frames come out of the source pad, in the camera's encoding.
//
// `url` carries no credentials; these are kept by the pipeline, and none are used when they are not set. The
// caller owns `controller`, which is left unchanged on failure: (NotSupported, General) for a codec that
// nobody understands, (OperationFailed, General) when an element of GStreamer is not installed.
//
// A stream that cannot be had ends with a failure from Device whose text begins with one of rtsp_failure
// wherever the cause is known: AuthenticationFailed for status 401, NotSupported for a wrong codec or no
// video, NotAccessible for a camera that cannot be reached or does not answer (each of its answers is waited
// for 5 s), OperationFailed for the rest.
device_handler::v1_0::CError CreateRtspPipeline(const std::string& url,
                                                device_handler::v1_0::VideoCodec codec,
                                                const device_handler::v1_0::CAuthentication& credentials,
                                                device_handler::v1_0::IStreamController*& controller);

} // namespace corvane::refhost
