// Why a stream cannot be had: what the pipeline makes of a camera's RTSP answers.

#include "refhost/rtsp_pipeline.h"
#include "tests/support/scripted_server.h"

#include <gtest/gtest.h>

#include <memory>

namespace corvane::refhost {
namespace {

using namespace device_handler::v1_0;
using namespace tests;

std::string FailureAt(const std::string& address) {
    IStreamController* made = nullptr;
    EXPECT_FALSE(CreateRtspPipeline("rtsp://" + address + "/video", VideoCodec::H264, {}, {}, made));
    const std::unique_ptr<IStreamController> stream(made);
    EXPECT_FALSE(stream->start());
    const auto end = stream->waitForEnd(std::chrono::minutes(1));
    return end && end->cause == SStreamEnd::Cause::Failure ? end->error.getText() : "no failure";
}

// A camera that answers DESCRIBE so, and everything else with 200.
CScriptedServer::Script Camera(const std::string& status, const std::string& media) {
    return [=](const SSentRequest& request) {
        const bool describes = request.method == "DESCRIBE";
        const std::string body = describes ? "v=0\r\no=- 0 0 IN IP4 0\r\ns=-\r\nt=0 0\r\n" + media : "";
        return SScriptedReply{
            "RTSP/1.0 " + (describes ? status : "200 OK") + "\r\nCSeq: " + request.header("CSeq") +
            "\r\nContent-Type: application/sdp\r\nContent-Length: " + std::to_string(body.size()) +
            "\r\n\r\n" + body};
    };
}

TEST(RtspPipeline, AFailureTellsItsCause) {
    EXPECT_EQ(FailureAt(UnusedAddress()), rtsp_failure::Refused);
    const struct {
        const char *status, *media, *failure;
    } cases[] = {
        {"401 Unauthorized", "", "RTSP status 401 Unauthorized"},
        {"503 Service Unavailable", "", "RTSP status 503 Service Unavailable"},
        {"200 OK", "m=video 0 RTP/AVP 26\r\n",
         "wrong codec: the camera sends MJPEG where H.264 was asked for"},
        {"200 OK", "m=audio 0 RTP/AVP 8\r\n", rtsp_failure::NoVideo},
    };
    for (const auto& test : cases)
        EXPECT_EQ(FailureAt(CScriptedServer(Camera(test.status, test.media)).address()), test.failure);
}

} // namespace
} // namespace corvane::refhost
