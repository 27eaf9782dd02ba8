// What a simulated camera makes of settings that are written, and how it then encodes its streams.

#include "model/cgi_parameters.h"
#include "model/stream_profile.h"

#include <gmock/gmock.h>

namespace {

using namespace camsim;

class CStreamingCamera : public CCamera {
public:
    explicit CStreamingCamera(const char* model) : CCamera(0, LoadEmbeddedModel(model)) {}

    void put(const char* key, const char* value) { putSetting(key, std::string(value)); }

    std::string after(const char* cgi, const char* query, const char* key) {
        WrittenSettings written;
        ApplyParameters(*this, *FindSettingsCgi(cgi), ParseForm(query), written);
        return setting(key).value_or("absent");
    }

    // "unknown", "off", or how the stream is encoded.
    std::string stream(const std::string& path) const {
        for (const SVideoStream& known : VideoStreams(model()))
            if (known.path == path)
                return IsServed(*this, known) ? DescribeProfile(StreamProfile(*this, known)) : "off";
        return "unknown";
    }
};

TEST(Camsim, RoundsWrittenStreamSettingsToWhatTheCameraOffers) {
    CStreamingCamera camera("F320");
    EXPECT_EQ(camera.after("/cgi-bin/set_h264", "h264_resolution=1200", "H264SIZE"), "1280");
    EXPECT_EQ(camera.after("/cgi-bin/set_h264", "h264_resolution=wide", "H264SIZE"), "1280");
    EXPECT_EQ(camera.after("/cgi-bin/set_h264", "nr_framerate=25", "H264NRFRAMERATE"), "20");
    EXPECT_EQ(camera.after("/cgi-bin/set_h264", "h264_Ivop=8", "H264RINT"), "5");
    EXPECT_EQ(camera.after("/cgi-bin/set_mpeg", "mpeg_Ivop=0.3", "RINT"), "0.33");
    EXPECT_EQ(camera.after("/cgi-bin/set_jpeg", "jpeg_quality=0", "LIVEQUAL"), "1");
    EXPECT_EQ(camera.after("/cgi-bin/set_jpeg", "jpeg_quality=11", "LIVEQUAL"), "10");
    EXPECT_EQ(camera.after("/cgi-bin/set_jpeg", "jpeg_quality=nan", "LIVEQUAL"), "10");
    camera.put("IMAGESELECT", "2m");
    camera.put("IMAGERATIO", "16_9");
    EXPECT_EQ(camera.after("/cgi-bin/set_h264", "nr_framerate=30", "H264NRFRAMERATE"), "15");
    EXPECT_EQ(camera.after("/cgi-bin/set_h264_2", "h264_resolution=1920", "H264SIZE_2"), "640");
    EXPECT_EQ(CStreamingCamera("GXE500").after("/cgi-bin/set_jpeg", "jpeg_interval_ch3=29", "LIVEINTCH3"),
              "30");
}

TEST(Camsim, EncodesAsTheSettingsSay) {
    CStreamingCamera camera("F320");
    EXPECT_EQ(camera.stream("/MediaInput/h264"),
              "H.264 1280x960, 30 fps, key frame every 30, 2048 kbit/s, G.726 32 kbit/s");
    EXPECT_EQ(camera.stream("/MediaInput/jpeg"), "MJPEG 640x480, 5 fps, quality 67%");
    camera.put("IMAGERATIO", "16_9");
    camera.put("H264NRFRAMERATE", "7.5");
    camera.put("H264RINT", "2");
    camera.put("H264BWC", "0");
    EXPECT_EQ(camera.stream("/MediaInput/h264"),
              "H.264 1280x720, 15/2 fps, key frame every 15, 4096 kbit/s, G.726 32 kbit/s");
    CStreamingCamera encoder("GXE500");
    encoder.put("LIVESIZECH2", "320");
    EXPECT_EQ(encoder.stream("/MediaInput/ch_2/jpeg"), "MJPEG 320x240, 5 fps, quality 67%");
    EXPECT_EQ(encoder.stream("/MediaInput/ch_3/h264"), encoder.stream("/MediaInput/h264"));
}

TEST(Camsim, ServesTheStreamsThatAreOnOfTheFamilyThatRuns) {
    CStreamingCamera camera("F320");
    EXPECT_EQ(camera.stream("/MediaInput/mpeg4"), "off");
    EXPECT_EQ(camera.stream("/MediaInput/h264/stream_2"), "off");
    EXPECT_EQ(camera.stream("/MediaInput/ch_1/h264"), "unknown");
    camera.put("H264RTSPMODE", "0");
    EXPECT_EQ(camera.stream("/MediaInput/h264"), "off");
    camera.put("STREAMMODE", "0");
    EXPECT_NE(camera.stream("/MediaInput/mpeg4"), "off");
    EXPECT_EQ(CStreamingCamera("L115").stream("/MediaInput/h264"), "unknown");
    EXPECT_NE(CStreamingCamera("L115").stream("/MediaInput/mpeg4"), "off");
}

} // namespace
