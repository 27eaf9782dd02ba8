// What a hostile camera can do to whoever asks it for a stream.

#include "tests/hostile/hostile_camera.h"

#include <thread>

namespace corvane::hostile_test {
namespace {

// The attacker's pictures are smaller than the settings say of the camera that it stands before.
constexpr const char* OtherSize = "another resolution than is set";

using namespace std::chrono_literals;
using tests::BigEndian;

// A status line and the headers that an answer needs.
std::string Answer(const std::string& status, const std::string& headers) {
    return "RTSP/1.0 " + status + "\r\nCSeq: CSEQ\r\nSession: 1\r\n" + headers;
}
const std::string RtspOk = Answer("200 OK", "");

SScriptedReply Stalling(const std::string& bytes) {
    return {bytes, SScriptedReply::Stall};
}

const std::vector<std::string> Record = {"--model",  "F320",    "--rtsp-port", "STREAM-PORT",
                                         "record",   "ADDRESS", "--stream",    "0,h264,0",
                                         "--output", "FILE",    "--seconds",   "3"};
const std::vector<std::string> RecordMpeg4 = {
    "--model",   "F320",     "--rtsp-port", "STREAM-PORT", "record", "ADDRESS",   "--stream",
    "0,mpeg4,0", "--output", "FILE",        "--seconds",   "3",      "--timeout", "3"};
const std::vector<std::string> RecordLong = {"--model", "F320",     "--rtsp-port", "STREAM-PORT", "record",
                                             "ADDRESS", "--stream", "0,mpeg4,0",   "--output",    "FILE"};
const std::vector<std::string> RecordJpeg = {"--model", "F320",     "--rtsp-port", "STREAM-PORT", "record",
                                             "ADDRESS", "--stream", "0,mjpeg,0",   "--output",    "FILE"};
const std::vector<std::string> RecordBoth = {"--model",   "D870",     "--rtsp-port", "STREAM-PORT", "record",
                                             "ADDRESS",   "--stream", "0,mpeg4,0",   "--output",    "FILE",
                                             "--timeout", "8",        "--audio"};
const std::vector<std::string> DigestOnly = {"--digest-only", "--model",  "F320",    "--rtsp-port",
                                             "STREAM-PORT",   "record",   "ADDRESS", "--stream",
                                             "0,h264,0",      "--output", "FILE"};
const std::vector<std::string> Script = {"--model",     "F320",   "--rtsp-port",
                                         "STREAM-PORT", "script", "ADDRESS"};

enum : unsigned { Jpeg = 26, H264 = 96, Mpeg4 = 97, Sound = 98 };

// One RTP packet in the connection.
std::string Packet(unsigned type, std::uint32_t number, std::uint32_t time, bool isLast,
                   const std::string& payload) {
    const std::string packet = BigEndian(0x8000 | (isLast ? 0x80U : 0U) | type, 2) + BigEndian(number, 2) +
                               BigEndian(time, 4) + BigEndian(1, 4) + payload;
    return '$' + BigEndian(0, 1) + BigEndian(static_cast<std::uint32_t>(packet.size()), 2) + packet;
}

const std::string Playing = Answer("200 OK", "\r\n");
const std::string Fragment =
    "\x7C\x05" + std::string(1'000, '\x88'); // of an H.264 key frame, from its middle
const std::string KeyFrame = std::string("\0\0\1\xB6\x10", 5) + std::string(20'000, 'x'); // of MPEG-4

// The attacker's own pace, for which no test waits: frames that came all at once, faster than any network
// brings them, would be ended as one that is too large, and not by what the attack is for.
constexpr std::chrono::microseconds FramePace{300};

// Packets without an end, whose numbers and times go on in these steps, also from the last to the first.
SScriptedReply Packets(unsigned type, std::uint32_t step, std::uint32_t timeStep, bool areFrames,
                       const std::string& payload) {
    return {Playing, SScriptedReply::Stall, 0ms,
            [=, number = std::uint32_t{0}, time = std::uint32_t{0}]() mutable {
                if (areFrames)
                    std::this_thread::sleep_for(FramePace);
                return Packet(type, number += step, time += timeStep, areFrames, payload);
            }};
}

// Likewise tiny ones, a thousand in a piece, whose payload may follow from the number.
SScriptedReply TinyPackets(unsigned type, std::uint32_t timeStep, bool areFrames,
                           const std::function<std::string(std::uint32_t)>& payload) {
    return {Playing, SScriptedReply::Stall, 0ms, [=, number = std::uint32_t{0}]() mutable {
                std::string piece;
                for (int i = 0; i < 1'000; ++i, ++number)
                    piece += Packet(type, number, number * timeStep, areFrames, payload(number));
                return piece;
            }};
}
SScriptedReply TinyPackets(unsigned type, std::uint32_t timeStep, bool areFrames,
                           const std::string& payload) {
    return TinyPackets(type, timeStep, areFrames, [payload](std::uint32_t) { return payload; });
}

std::string TinyFragment(std::uint32_t number) { // of an H.264 key frame that begins with the first
    return number == 0 ? "\x7C\x85\x88" : "\x7C\x05\x88";
}
const std::string TinyKeyFrame("\0\0\1\xB6\x10x", 6);
std::string TinyJpegFragment(std::uint32_t number) { // one byte behind the other of an endless picture
    return BigEndian(number & 0xFFFFFF, 4) + "\1\x32\x28\x1Ex";
}

// All parameters.
std::string Description(std::size_t size) {
    std::string text = "v=0\r\no=- 0 0 IN IP4 0\r\ns=-\r\nt=0 0\r\nm=video 0 RTP/AVP 26\r\na=fmtp:26 ";
    for (int number = 0; text.size() < size - 10; ++number)
        text += "p" + std::to_string(number) + "=;";
    text.resize(size - 2);
    return text + "\r\n";
}
SScriptedReply Described(const std::string& description) {
    return {Answer("200 OK", "Content-Length: " + std::to_string(description.size()) + "\r\n\r\n") +
            description};
}
std::string ManyMedia() {
    std::string text = "v=0\r\no=- 0 0 IN IP4 0\r\ns=-\r\nt=0 0\r\n";
    for (int i = 0; i < 500; ++i)
        text += "m=audio 0 RTP/AVP 0\r\n";
    return text;
}

const SAttack RtspAttacks[] = {
    // More than anybody keeps.
    {"EndlessHeader", Record, "DESCRIBE", Endless(RtspOk, Filler), 1, 1, "larger"},
    {"EndlessLine", Record, "DESCRIBE", Endless(RtspOk + "X: ", std::string(1'000, 'x')), 1, 1, "larger"},
    {"EndlessBody", Record, "DESCRIBE",
     Endless(RtspOk + "Content-Length: 3000000000\r\n\r\n", std::string(1'000, 'x')), 1, 1, "larger"},
    {"NegativeLength", Record, "DESCRIBE",
     Endless(RtspOk + "Content-Length: -1\r\n\r\n", std::string(1'000, 'x')), 1, 1, "RTSP"},
    {"DescriptionOfParametersAlone", Record, "DESCRIBE", Described(Description(16 << 10)), 1, 1,
     "the camera sends MJPEG"},
    {"LargeDescription", Record, "DESCRIBE", Described(Description(250'000)), 1, 1, "larger"},
    {"DescriptionOfManyMedia", Record, "DESCRIBE", Described(ManyMedia()), 1, 1, "larger"},
    {"EndlessMessages", Record, "DESCRIBE", Endless("", "RTSP/1.0 200 OK\r\nCSeq: 77\r\n\r\n"), 1, 1, ""},
    {"EndlessRequests", Record, "DESCRIBE", Endless("", "OPTIONS * RTSP/1.0\r\nCSeq: 1\r\n\r\n"), 1, 1, ""},
    {"EndlessPacketsInsteadOfAnAnswer", Record, "SETUP", Endless("", Packet(H264, 1, 1, true, Fragment)), 1,
     1, ""},
    {"EndlessFragments", Record, "PLAY", Packets(H264, 1, 0, false, Fragment), 1, 1, "larger"},
    {"EndlessFragmentsWithGaps", Record, "PLAY", Packets(H264, 3, 0, false, Fragment), 1, 1, "larger"},
    {"EndlessFragmentsOfOneNumber", Record, "PLAY", Endless(Playing, Packet(H264, 1, 1, false, Fragment)), 1,
     1, "larger"},
    {"EndlessFragmentsInAScript", Script, "PLAY", Packets(H264, 1, 0, false, Fragment), 1, 0, "", false,
     "video start 0,h264,0\nsleep 3000\n"},
    {"EndlessTinyFragments", Record, "PLAY", TinyPackets(H264, 0, false, TinyFragment), 1, 1, "larger"},
    {"EndlessTinyJpegFragments", RecordJpeg, "PLAY", TinyPackets(Jpeg, 0, false, TinyJpegFragment), 1, 1,
     "larger"},
    {"EndlessFramesOfOneTime", RecordMpeg4, "PLAY", Packets(Mpeg4, 1, 0, true, KeyFrame), 1, 1, "larger"},
    {"EndlessFramesBackwards", RecordMpeg4, "PLAY", Packets(Mpeg4, 1, 0U - 3000, true, KeyFrame), 1, 1,
     OtherSize},
    {"EndlessFramesFarApart", RecordMpeg4, "PLAY", Packets(Mpeg4, 1, 0x7FFFFFFF, true, KeyFrame), 1, 1,
     OtherSize},
    {"FasterThanLife", RecordMpeg4, "PLAY", Packets(Mpeg4, 1, 90, true, KeyFrame), 1, 1, OtherSize},
    {"PicturesWithoutSound", RecordBoth, "PLAY rtsp://STREAMS/MediaInput/mpeg4",
     Packets(Mpeg4, 1, 90, true, KeyFrame), 1, 1, "no sound within 32 MiB"},
    {"SoundWithoutPictures", RecordBoth, "PLAY rtsp://STREAMS/MediaInput/audio",
     Packets(Sound, 1, 8000, true, std::string(20'000, 'x')), 1, 1, "the sound: the camera sends more"},
    {"TinyPicturesWithoutSound", RecordBoth, "PLAY rtsp://STREAMS/MediaInput/mpeg4",
     TinyPackets(Mpeg4, 90, true, TinyKeyFrame), 1, 1, "no sound within 32 MiB"},
    {"TinySoundWithoutPictures", RecordBoth, "PLAY rtsp://STREAMS/MediaInput/audio",
     TinyPackets(Sound, 2, false, std::string("x")), 1, 1, "the sound: the camera sends more"},

    // Others, whom a password could be told.
    {"RedirectedDescription",
     Record,
     "DESCRIBE",
     {Answer("302 Moved Temporarily", "Location: rtsp://THIRD/x\r\n\r\n")},
     1,
     1,
     "rtsp://THIRD/x"},
    {"RedirectedForGood",
     Record,
     "DESCRIBE",
     {Answer("301 Moved Permanently", "Location: rtsph://THIRD/x\r\n\r\n")},
     1,
     1,
     "rtsph://THIRD/x"},
    {"RedirectedSetUp",
     Record,
     "SETUP",
     {Answer("305 Use Proxy", "Location: rtsps://THIRD/x\r\n\r\n")},
     1,
     1,
     "rtsps://THIRD/x"},
    {"RedirectedPlay",
     Record,
     "PLAY",
     {Answer("302 Moved Temporarily", "Location: rtsp://THIRD/x\r\n\r\n")},
     1,
     1,
     "rtsp://THIRD/x"},
    {"RedirectedToItself",
     Record,
     "DESCRIBE",
     {Answer("302 Moved Temporarily", "Location: rtsp://STREAMS/x\r\n\r\n")},
     1,
     1,
     "rtsp://STREAMS/x"},
    {"MediumSomewhereElse",
     Record,
     "DESCRIBE",
     {Answer("200 OK", "Content-Base: rtsp://THIRD/\r\nContent-Length: 80\r\n\r\nv=0\r\no=- 0 0 IN IP4 "
                       "0\r\ns=-\r\nt=0 0\r\nm=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n")},
     1,
     1,
     ""},

    // Asking without an end.
    {"StaleForEver",
     Record,
     "DESCRIBE",
     {Answer("401 Unauthorized", "WWW-Authenticate: Digest realm=\"x\", nonce=\"n\", stale=true\r\n\r\n")},
     3,
     1,
     "401"},
    {"OtherSchemes",
     Record,
     "DESCRIBE",
     {Answer("401 Unauthorized", "WWW-Authenticate: NTLM\r\nWWW-Authenticate: Negotiate\r\n\r\n")},
     1,
     1,
     "401"},
    {"BasicAloneWhereDigestIsWanted",
     DigestOnly,
     "DESCRIBE",
     {Answer("401 Unauthorized", "WWW-Authenticate: Basic realm=\"x\"\r\n\r\n")},
     1,
     1,
     "Basic authentication alone"},
    {"BasicThatIsRefused",
     Record,
     "SETUP",
     {Answer("401 Unauthorized", "WWW-Authenticate: Basic realm=\"x\"\r\n\r\n")},
     2,
     1,
     "401"},
    {"ClosedBehindEachChallenge",
     Record,
     "DESCRIBE",
     {Answer("401 Unauthorized", "WWW-Authenticate: Digest realm=\"x\", nonce=\"n\", stale=true\r\n\r\n"),
      SScriptedReply::Close},
     3,
     1,
     "401"},

    // What comes byte by byte, or not at all.
    {"Trickling", Record, "DESCRIBE", Endless(RtspOk, "x", 200ms), 1, 1, "answer"},
    {"TricklingWhenStopped", Record, "DESCRIBE", Endless(RtspOk, "x", 200ms), 1, 0, "", true},
    {"TricklingSetUpWhenStopped", Record, "SETUP", Endless(RtspOk, "x", 200ms), 1, 0, "", true},
    {"TricklingPacketsWhenStopped", Record, "PLAY", Endless(Playing + "$\x01\xFF\xFF", "x", 200ms), 1, 0, "",
     true},
    {"SilentWhenStopped", Record, "DESCRIBE", Stalling(""), 1, 0, "", true},
    {"FloodedWhenStopped", Record, "PLAY", Packets(Mpeg4, 1, 0, true, KeyFrame), 1, 0, "", true},
    {"TinyFramesWhenStopped", RecordLong, "PLAY", TinyPackets(Mpeg4, 90, true, TinyKeyFrame), 1, 0, "frames",
     true, "", 200},
    {"TinyFramesFarApartWhenStopped", RecordLong, "PLAY", TinyPackets(Mpeg4, 180'000, true, TinyKeyFrame), 1,
     0, "frames", true, "", 200},
    {"PicturesWithoutSoundWhenStopped", RecordBoth, "PLAY rtsp://STREAMS/MediaInput/mpeg4",
     Packets(Mpeg4, 1, 90, true, KeyFrame), 1, 0, "frames", true, "", 500},
};

class HostileRtsp : public testing::TestWithParam<SAttack> {};
TEST_P(HostileRtsp, HurtsNobody) {
    ExpectHarmless(GetParam());
}
INSTANTIATE_TEST_SUITE_P(Attack, HostileRtsp, testing::ValuesIn(RtspAttacks), NameOf);

} // namespace
} // namespace corvane::hostile_test
