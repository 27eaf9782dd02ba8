#include "site/streams/stream_diagnosis.h"

#include "refhost/base/auth_scheme.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "site/base/exit_status.h"
#include "site/base/names.h"

#include <algorithm>
#include <iterator>

namespace corvane::site {
namespace {

namespace failure = refhost::rtsp_failure;

constexpr const char* NoData = "no data within";
constexpr const char* EndedByCamera = "the camera ended the stream";

struct SStreamProblem {
    std::string beginning; // of the failure's text
    const char* cause;
    const char* problem;
    const char* advice;
};

const std::string Status = failure::Status;

// The first row whose beginning the failure's text has is taken.
const SStreamProblem Problems[] = {
    {Status + "3", "redirect",
     "the camera sends the stream's viewers elsewhere, where nobody is asked for it",
     "see whether it is the camera itself that answers at this address"},
    {Status + "401", "wrong-password", "the camera refuses the user name or the password for its stream",
     "give --user and --password-file, or VORNHOST_USER and VORNHOST_PASSWORD"},
    {Status + "403", "forbidden", "the camera forbids the stream to the user",
     "give the credentials of a user who may see the picture"},
    {Status + "404", "stream-refused", "the camera has no such stream",
     "see with `vornhost show` whether the stream's transmission is on; the model list may have a wrong "
     "path"},
    {Status + "45", "stream-refused", "the camera cannot give the stream this way",
     "see whether too many others watch it, or take another stream"},
    {Status + "5", "stream-refused", "the camera refuses the stream",
     "see with `vornhost show` whether the stream's transmission is on and whether too many others watch it"},
    {Status, "stream-refused", "the camera refuses the stream",
     "see with `vornhost show` how its streams are set"},
    {failure::HostNotFound, "name-not-found", "no host has this name",
     "look for a slip of the pen in ADDRESS, or give the dotted address"},
    {failure::Refused, "stream-unreachable", "nobody listens on the camera's RTSP port",
     "see with `vornhost show` which port it is and whether a stream's transmission is on; --rtsp-port N "
     "takes "
     "another"},
    {failure::NotConnected, "stream-unreachable", "the camera cannot be reached",
     "see whether the camera has power and can be reached (ping), then try again"},
    {failure::TimedOut, "no-answer", "the camera did not answer in time",
     "see whether the camera has power and can be reached (ping), then try again"},
    {failure::Closed, "dropped", "the camera closed the connection",
     "try again; if it stays so, restart the camera and look at what stands between it and here"},
    {failure::NotRtsp, "not-http", "what answers at the RTSP port does not speak RTSP",
     "see with `vornhost show` which port it is; --rtsp-port N takes another"},
    {failure::TooLarge, "too-large", "the camera sends more than any camera does",
     "see whether it is the camera itself that answers at this address"},
    {failure::NoDescription, "damaged", "what the camera tells of the stream cannot be read",
     "see whether it is the camera itself that answers at this address"},
    {failure::WrongCodec, "wrong-stream", "the camera sends another codec",
     "see with `vornhost show` how its streams are set, or ask for the codec that it sends"},
    {failure::NoVideo, "no-picture", "what the camera sends has no video",
     "see whether the model list's location for the stream is right"},
    {failure::NoAudio, "no-sound", "what the camera sends has no audio",
     "see whether the model list's location for the audio is right, and with `vornhost show` whether audio "
     "is on"},
    {"no sound within", "no-sound", "the camera sends no sound",
     "record without --audio, or wait longer with --timeout S"},
    {NoData, "no-picture", "the camera sends no picture",
     "see with `vornhost show` whether the stream's transmission is on; --timeout S waits longer"},
    {"no whole picture within", "no-picture", "the camera sends no picture that can be shown",
     "see with `vornhost show` whether the stream's transmission is on; --timeout S waits longer"},
    {UnwritableFile, "cannot-write", "the recording cannot be kept",
     "see whether there is room, and who may write there"},
    {EndedByCamera, "stream-lost", "the camera was lost",
     "see whether the camera has restarted, then try again"},
};

bool IsNoStream(const CError& error) {
    return error.getCode() == static_cast<int>(RtnCode::NotSupported) &&
           error.getOrigin() == static_cast<int>(Origin::General);
}

} // namespace

void RequireMachine(const CError& error) {
    for (const char* lacking : {device_handler::v1_0::NoThreadText, device_handler::v1_0::NoElementText})
        if (error.getText().find(lacking) != std::string::npos)
            throw CFailure(ExitStatus::NotStarted, error.getText(), OwnCause::Limit);
}

SDiagnosis DiagnoseStream(const CError& error, const std::string& request) {
    const std::string& whole = error.getText();
    const bool isOfAudio = whole.compare(0, failure::OfAudio.size(), failure::OfAudio) == 0;
    const std::string text = isOfAudio ? whole.substr(failure::OfAudio.size()) : whole;
    const auto diagnosis = [&](const char* cause, const std::string& problem, const char* advice) {
        return SDiagnosis{problem, "", request, text, advice, cause, true, "stream"};
    };
    if (IsNoStream(error))
        return {"the model list has no such stream",
                text,
                "",
                "",
                "see with `vornhost show` which streams the camera has",
                "not-supported",
                true,
                "stream"};
    const bool isPlaying = request.rfind("PLAY", 0) == 0;
    const bool isUnanswered = text.rfind(NoData, 0) == 0 && !request.empty() && !isPlaying;
    if (isUnanswered)
        return DiagnoseStream({RtnCode::NotAccessible, Origin::Device, failure::TimedOut}, request);
    if (text.find(refhost::BasicRefusedText) != std::string::npos)
        return diagnosis("authentication-weaker",
                         "the camera offers Basic authentication alone for its stream, which is refused",
                         "set the camera to Digest, or do without --digest-only");
    const bool isLost = isPlaying && text.rfind(failure::Closed, 0) == 0;
    const std::string looked = isLost ? EndedByCamera : text;
    const auto* const known =
        std::find_if(std::begin(Problems), std::end(Problems), [&looked](const SStreamProblem& problem) {
            return looked.compare(0, problem.beginning.size(), problem.beginning) == 0;
        });
    if (known != std::end(Problems))
        return diagnosis(known->cause, known->problem, known->advice);
    const bool ofCamera = error.getOrigin() == static_cast<int>(Origin::Device);
    return {"the stream has ended by itself",
            "",
            ofCamera ? request : "",
            text,
            "try again; if it stays so, restart the camera",
            "stream-lost",
            false,
            "stream"};
}

} // namespace corvane::site
