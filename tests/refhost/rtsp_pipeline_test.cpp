// What the pipeline makes of a camera's RTSP answers: why a stream cannot be had, and what comes out of it.

#include "host/gst_object.h"
#include "refhost/streams/rtsp_pipeline.h"
#include "tests/support/scripted_rtsp.h"
#include "tests/support/wait_until.h"

#include <gtest/gtest.h>

#include <memory>

namespace corvane::refhost {
namespace {

using namespace device_handler::v1_0;
using namespace tests;

using Stream = std::unique_ptr<IStreamController>;
Stream StreamFrom(const std::string& address, VideoCodec codec) {
    IStreamController* made = nullptr;
    EXPECT_FALSE(CreateRtspPipeline({"rtsp://" + address + "/video", address, {}}, codec, {}, made));
    return Stream(made);
}

std::string FailureAt(const std::string& address) {
    const Stream stream = StreamFrom(address, VideoCodec::H264);
    EXPECT_FALSE(stream->start());
    const auto end = stream->waitForEnd(std::chrono::minutes(1));
    return end && end->cause == SStreamEnd::Cause::Failure ? end->error.getText() : "no failure";
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
        EXPECT_EQ(FailureAt(CScriptedServer(RtspCamera({test.media, "", test.status})).address()),
                  test.failure);
}

std::string FromHex(const std::string& digits) {
    std::string bytes;
    for (std::size_t at = 0; at < digits.size(); at += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    return bytes;
}

// The bytes that come out of a pad.
class CCollected {
public:
    CCollected(GstElement* pipeline, GstPad* pad) {
        GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
        gst_bin_add(GST_BIN(pipeline), sink);
        const vorn_gst::v1_0::CGstRef<GstPad> in(gst_element_get_static_pad(sink, "sink"));
        EXPECT_EQ(gst_pad_link(pad, in.get()), GST_PAD_LINK_OK);
        gst_pad_add_probe(in.get(), GST_PAD_PROBE_TYPE_BUFFER, collect, this, nullptr);
    }

    std::string bytes() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return bytes_;
    }

private:
    static GstPadProbeReturn collect(GstPad*, GstPadProbeInfo* info, gpointer collected) {
        auto& itself = *static_cast<CCollected*>(collected);
        GstMapInfo map;
        gst_buffer_map(GST_PAD_PROBE_INFO_BUFFER(info), &map, GST_MAP_READ);
        const std::lock_guard<std::mutex> lock(itself.mutex_);
        itself.bytes_.append(reinterpret_cast<const char*>(map.data), map.size);
        gst_buffer_unmap(GST_PAD_PROBE_INFO_BUFFER(info), &map);
        return GST_PAD_PROBE_OK;
    }

    mutable std::mutex mutex_; // guards what follows
    std::string bytes_;
};

// What comes out of the audio pad when the camera sends two packets with these payloads.
std::string SoundOf(const std::string& encoding, const std::string& first, const std::string& second) {
    const CScriptedServer pictures(RtspCamera({"m=video 0 RTP/AVP 26\r\n", ""}));
    const CScriptedServer sound(RtspCamera({"m=audio 0 RTP/AVP 97\r\na=rtpmap:97 " + encoding + "/8000\r\n",
                                            RtpPacket(97, 0, 0, first) + RtpPacket(97, 1, 160, second)}));
    const Stream stream = StreamFrom(pictures.address(), VideoCodec::Mjpeg);
    GstPad* pad = nullptr;
    EXPECT_FALSE(AddRtspAudio(*stream, {"rtsp://" + sound.address() + "/audio", sound.address(), {}}, pad));
    const CCollected collected(stream->getPipeline(), pad);
    EXPECT_FALSE(stream->start());
    test_support::WaitUntil([&] { return collected.bytes().size() >= first.size() + second.size(); });
    stream->stop();
    return collected.bytes();
}

// Decoders and files know one order of G.726's codewords, cameras send two; the encoding's name tells which.
TEST(RtspPipeline, SoundComesOutInTheOrderThatDecodersTakeWhateverTheCameraSends) {
    const struct {
        const char *kilobits, *leastFirst, *mostFirst; // of one tone, by another encoder
    } cases[] = {
        {"16", "01c0b2cf1300fc22021c30cbce4377", "40038ef3c4003f8880340ce3b3c1dd"},
        {"24", "7ae2f0af7f274af4f836fdc6579244", "5c9c67f77f8944ae77da6f4ee8924a"},
        {"32", "3fe2fdcfcbfcc2134322f2a1ffcacd", "f32edffcbccf2c3134222f1affacdc"},
        {"40", "01e71db6d9a3a441feffa15b9eb5d8", "0e33b0ecdb1952327fff0f6dcce85b"},
    };
    for (const auto& test : cases) {
        const std::string name = std::string("G726-") + test.kilobits;
        const std::string least = FromHex(test.leastFirst);
        const std::string most = FromHex(test.mostFirst);
        EXPECT_EQ(SoundOf(name, least, least), most + most) << name;
        EXPECT_EQ(SoundOf("AAL2-" + name, most, most), most + most) << name;
    }
}

} // namespace
} // namespace corvane::refhost
