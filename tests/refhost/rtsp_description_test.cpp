// What is made of a camera's description of its stream.

#include "host/error.h"
#include "refhost/streams/rtsp_description.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "tests/refhost/captured_stderr.h"

#include <gmock/gmock.h>

namespace corvane::refhost {
namespace {

using testing::ElementsAre;

std::string Description(const std::string& media) {
    gst_init(nullptr, nullptr);
    return "v=0\r\no=- 0 0 IN IP4 0\r\ns=-\r\nt=0 0\r\n" + media;
}

std::string Repeated(int count, const std::string& text) {
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

// Each medium's caps, without what is the same in all.
std::vector<std::string> CapsOf(const std::string& media) {
    std::vector<std::string> texts;
    for (const SRtspMedium& medium : ReadRtspDescription(Description(media)).media) {
        gchar* const text = gst_caps_to_string(medium.caps.get());
        texts.push_back(std::string(text).substr(std::string("application/x-rtp, ").size()));
        g_free(text);
    }
    return texts;
}

TEST(RtspDescription, CapsHoldWhatElementsAskForAndNothingElse) {
    const std::string h264 = "payload=(int)96, media=(string)video, encoding-name=(string)H264";
    EXPECT_THAT(
        CapsOf(
            "m=Video 0 RTP/AVP 96\r\na=rtpmap:97 X/1\r\na=rtpmap:96 h264/90000\r\na=fmtp:97 config=no\r\n"
            "a=fmtp:96 packetization-mode=1; Profile-Level-ID=42C01E ;x-1=2;;=3;sprop-parameter-sets=Zg==\r\n"
            "a=framerate:12.5\r\na=unknown:1\r\n"
            "m=video 0 RTP/AVP 97\r\na=rtpmap:97 MP4V-ES/45000\r\na=fmtp:97 config=000001B0;config=01\r\n"
            "m=video 0 RTP/AVP 26 96\r\na=framesize:96 1-2\r\na=framesize:26 1280-720\r\n"
            "a=x-dimensions:2048,1536\r\na=x-framerate:7\r\n"
            "m=audio 0 RTP/AVP 98\r\na=rtpmap:98  AAL2-G726-32 / 8000/ 2\r\n"
            "m=audio 0 RTP/AVP 8\r\n"),
        ElementsAre(h264 + ", clock-rate=(int)90000, packetization-mode=(string)1, "
                           "profile-level-id=(string)42C01E, sprop-parameter-sets=(string)\"Zg\\=\\=\", "
                           "a-framerate=(string)12.5",
                    "payload=(int)97, media=(string)video, encoding-name=(string)MP4V-ES, "
                    "clock-rate=(int)45000, config=(string)01",
                    "payload=(int)26, media=(string)video, clock-rate=(int)90000, "
                    "a-framesize=(string)1280-720, x-framerate=(string)7, "
                    "x-dimensions=(string)\"2048\\,1536\"",
                    "payload=(int)98, media=(string)audio, encoding-name=(string)AAL2-G726-32, "
                    "clock-rate=(int)8000, encoding-params=(string)2",
                    "payload=(int)8, media=(string)audio, clock-rate=(int)8000"));
    for (const char* const name : {"x-1", "a-unknown"})
        EXPECT_EQ(g_quark_try_string(name), 0U) << name; // which would stay for ever
}

TEST(RtspDescription, WhatCannotBeMeantIsLeftOut) {
    const std::string video = "media=(string)video, ", rate = "clock-rate=(int)90000";
    std::vector<std::string> caps;
    const std::string complaints = tests::CapturedStderr([&] {
        caps = CapsOf("m=video 0 RTP/AVP\r\n"
                      "m=video 0 RTP/AVP 99999999999999999999\r\na=rtpmap:0\r\na=rtpmap\r\n"
                      "m=video 0 RTP/AVP 96\r\na=rtpmap:96 \xFF/-1\r\na=framerate:\xC3\r\na=fmtp:96\r\n"
                      "m=\xFF 0 RTP/AVP x\r\na=rtpmap:0 H264/99999999999\r\n");
    });
    EXPECT_THAT(caps, ElementsAre("payload=(int)0, " + video + rate, "payload=(int)0, " + video + rate,
                                  "payload=(int)96, " + video + rate,
                                  "payload=(int)0, encoding-name=(string)H264, " + rate));
    EXPECT_EQ(complaints, "");
}

// What it fails with; empty when it does not.
std::string FailureOf(const std::string& text) {
    try {
        ReadRtspDescription(text);
        return {};
    } catch (const device_handler::v1_0::CError& error) {
        return error.getText();
    }
}

TEST(RtspDescription, MoreThanACameraHasIsRefused) {
    const std::string medium = "m=video 0 RTP/AVP 26\r\n", attribute = "a=x:1\r\n";
    EXPECT_EQ(FailureOf(Description(Repeated(16, medium + Repeated(64, attribute)))), "");
    EXPECT_EQ(FailureOf(Description(Repeated(17, medium))), rtsp_failure::TooLarge);
    EXPECT_EQ(FailureOf(Description(medium + medium + Repeated(65, attribute))), rtsp_failure::TooLarge);
    EXPECT_EQ(FailureOf(""), rtsp_failure::NoDescription);
}

} // namespace
} // namespace corvane::refhost
