#pragma once

#include "host/api.h"
#include "host/stream_controller.h"
#include "refhost/base/names.h"
#include "refhost/streams/rtsp_source.h"

#include <memory>
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
inline constexpr const char* NotRtsp = "what answers does not speak RTSP";
inline constexpr const char* TooLarge = "larger than anything that a camera sends";
inline constexpr const char* NoDescription = "no description of the stream that can be read";
inline constexpr const char* WrongCodec = "wrong codec";
inline constexpr const char* NoVideo = "no video in the stream";
inline constexpr const char* NoAudio = "no audio in the stream";
// Before one of these where it is the audio's failure.
inline const std::string OfAudio = "audio: ";
} // namespace rtsp_failure

// Builds the pipeline that receives a video stream over RTSP, interleaved in its TCP connection; nothing is
// sent before the start. Whole frames come out of the source pad, in the camera's encoding and with the
// distances in time that the camera gives them.
//
// The credentials are kept by the pipeline. `use` lives as long as the controller, which tells others that
// the stream is taken; it may be empty. The caller owns `controller`, which is left unchanged on failure:
// (NotSupported, General) for a codec that nobody understands, (OperationFailed, General) when an element of
// GStreamer is not installed.
//
// A stream that cannot be had ends with a failure from Device whose text begins with one of rtsp_failure
// wherever the cause is known: AuthenticationFailed for status 401, NotSupported for a wrong codec or no
// video, NotAccessible for a camera that cannot be reached or does not answer (each of its answers is waited
// for 5 s), OperationFailed for the rest.
VORN_HOST_API CError CreateRtspPipeline(const SRtspSource& source, VideoCodec codec,
                                        std::shared_ptr<const void> use,
                                        device_handler::v1_0::IStreamController*& controller);

// Adds the reception of a G.726 audio stream to a video stream's controller, before its start. The sound
// comes out of `pad`, which lives as long as the controller; the caller links it. Its codewords begin at the
// most significant bit, whichever order the camera sends. The times of both streams then follow when their
// packets come, so that sound and picture stay together. Arguments and failures are those of
// CreateRtspPipeline; the text of a failure that ends the stream because of its audio begins with
// rtsp_failure::OfAudio.
VORN_HOST_API CError AddRtspAudio(device_handler::v1_0::IStreamController& controller,
                                  const SRtspSource& source, GstPad*& pad);

// What the camera was asked last on the way to such a stream's pictures or sound, as "METHOD URL"; before
// that what it is to be asked first. Empty for any other stream, and for sound that has not been added.
enum class RtspPart { Pictures, Sound };
VORN_HOST_API std::string RtspRequest(const device_handler::v1_0::IStreamController& controller,
                                      RtspPart part);

} // namespace corvane::refhost
