// Video: stream mode and transmission, the queries of a codec's settings, and synchronisation.

#include "camera/codec_conversion.h"
#include "camera/panasonic_camera.h"

#include "host/operations.h"
#include "refhost/contexts.h"
#include "refhost/device_db.h"
#include "tests/plugin/fake_host.h"
#include "tests/plugin/stub_camera.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;

using Settings = std::map<std::string, std::string>;

constexpr VideoCodec Mjpeg = VideoCodec::Mjpeg, Mpeg4 = VideoCodec::Mpeg4, H264 = VideoCodec::H264;
constexpr const char* Both = "video_server.image.format=mjpeg,mpeg4,h264\r\n";
constexpr const char* H264Only = "video_server.image.format=mjpeg,h264\r\n";

class Video : public testing::Test {
protected:
    Video() {
        SModelInfo model;
        model.number = "A10";
        model.codecStreams = {{"mjpeg", 1}, {"mpeg4", 3}, {"h264", 1}};
        model.cameraStreams = 2;
        model.defaultQuality = {{"mpeg4", "100"}};
        model.videoInputs = 2;
        SModelInfo encoder = model;
        encoder.number = "GXE500";
        models = boost::make_shared<CVornModelList>(
            Request("/test", "NAME="), std::vector<SFamily>(), std::map<std::string, SQueryDevice>(),
            CVornModelList::ModelMap{{"A10", model}, {"GXE500", encoder}});
        stub.reply("/test", HttpOk("NAME=PX-A10\r\n"));
        stub.reply("/cgi-bin/setdata", [this](std::size_t) { return HttpOk(dump()); });
        for (const char* name : {"set_mpeg", "set_mpeg_2", "set_h264", "set_h264_2", "set_jpeg", "set_rtsp"})
            stub.reply("/cgi-bin/" + std::string(name), [this](std::size_t) {
                if (accepts)
                    settings = *accepts;
                return HttpOk("OK");
            });
    }
    void bringUp(const std::string& capability, Settings with, const char* number = "A10") {
        camera.reset(); // nobody asks for the settings while they change
        stub.reply("/cgi-bin/get_capability", HttpOk(capability));
        settings = std::move(with);
        boost::shared_ptr<IDeviceContext> context = device;
        camera.emplace(context, stub.address().c_str(), models, number);
        ASSERT_TRUE(camera->customInitialize());
        camera->GetImageMode(); // after the first dump
        told = stub.requests().size();
    }
    std::string dump() const {
        std::string text = "NAME,\"x\"\r\n"; // a key at the very first character is not found
        for (const auto& [key, value] : settings)
            text += "\r\n" + key + ",\"" + value + "\"\r\n";
        return text;
    }
    // The writes that have come since the last call: path, and query behind a "?".
    std::vector<std::string> writes() {
        std::vector<std::string> texts;
        const std::vector<SStubRequest> all = stub.requests();
        for (; told < all.size(); ++told)
            if (all[told].method == "POST")
                texts.push_back(all[told].target.substr(9) + "?" + all[told].body);
        return texts;
    }
    template <class Operation, class... Arguments>
    std::vector<std::string> range(Operation operation, Arguments... arguments) {
        std::vector<CString> values;
        CVAPI_VALUE_TYPE type{};
        error = ((*camera).*operation)(arguments..., values, type);
        return {values.begin() == values.end() ? std::vector<std::string>() : texts(values)};
    }
    static std::vector<std::string> texts(const std::vector<CString>& values) {
        std::vector<std::string> result;
        for (const CString& value : values)
            result.push_back(value.str());
        return result;
    }
    template <class Operation>
    std::string defaultOf(Operation operation, VideoCodec codec) {
        std::string value;
        error = ((*camera).*operation)(0, 0, codec, value);
        return error ? Told(error) : value;
    }
    std::string codecAt(int index) {
        CString id = "untouched";
        error = camera->getVideoCodecId(0, index, id);
        return error ? Told(error) : id.str();
    }

    CStubCamera stub;
    Settings settings;
    std::optional<Settings> accepts; // what the camera's settings are once it has been written to
    std::size_t told = 0;
    CError error = CError::Success();
    std::shared_ptr<refhost::CDeviceDb> database = refhost::CDeviceDb::open("");
    boost::shared_ptr<refhost::CDeviceContext> device = boost::make_shared<refhost::CDeviceContext>(
        stub.address(), CAuthentication("admin", "12345"), database);
    boost::shared_ptr<CVornModelList> models;
    std::optional<CPanasonicCamera> camera;
};

TEST_F(Video, TheRunningFamilyDecidesTheCodecSlots) {
    const struct {
        const char* capability;
        Settings settings;
        const char* slot0;
        bool isTransmitted;
        int mode;
    } cases[] = {
        {Both, {{"STREAMMODE", "0"}, {"MPEG", "1"}}, "1", true, 1},
        {Both, {{"STREAMMODE", "1"}, {"MPEG", "1"}, {"H264", "0"}}, "2", false, 2},
        {Both, {{"STREAMMODE", "2"}, {"H264", "1"}}, "2", true, 1}, // the two tests of the mode differ
        {Both, {{"MPEG", "1"}}, "7 3 property not found", false, 1},
        {H264Only, {{"STREAMMODE", "0"}, {"H264", "1"}, {"MPEG", "0"}}, "2", true, 1},
        {"video_server.image.format=mjpeg\r\n", {{"MPEG", "1"}}, "untouched", false, 0},
    };
    for (const auto& c : cases) {
        bringUp(c.capability, c.settings);
        EXPECT_EQ(codecAt(0), c.slot0);
        EXPECT_EQ(codecAt(1), "0");
        EXPECT_EQ(codecAt(2), "untouched");
        EXPECT_EQ(camera->IsH264OrMPEG4Supported(), c.isTransmitted) << c.slot0;
        EXPECT_EQ(camera->GetH264Mpeg4Mode(), c.mode);
        CString count;
        EXPECT_FALSE(camera->getVideoCodecCount(0, count));
        EXPECT_EQ(count, c.mode == 0 ? "1" : "2");
    }
}

TEST_F(Video, StreamsAreThoseOfTheCameraAsFarAsItHasThem) {
    bringUp(Both, {});
    CString max;
    EXPECT_FALSE(camera->getVideoCodecMaxStreams(0, Mpeg4, max));
    EXPECT_EQ(max, "2");
    EXPECT_FALSE(camera->getVideoCodecMaxStreams(0, H264, max));
    EXPECT_EQ(max, "1");
    int stream = 7;
    EXPECT_EQ(camera->mapVideoStreamToActualCameraStream({0, Mpeg4, 2}, stream), 2);
    EXPECT_EQ(stream, 7);
    EXPECT_EQ(camera->mapVideoStreamToActualCameraStream({0, Mpeg4, 1}, stream), 1);
    EXPECT_EQ(stream, 1);
}

TEST_F(Video, ImageModes) {
    const std::pair<Settings, const char*> cases[] = {
        {{{"IMAGESELECT", "1.3m"}, {"IMAGERATIO", "4_3"}, {"IMAGESVGA", "1"}}, "1_3m_r4_3_800"},
        {{{"IMAGERATIO", "16_9"}, {"IMAGESVGA", "0"}}, "1_3m_r16_9"},
        {{{"IMAGESELECT", "3m"}, {"IMAGERATIO", "16_9"}, {"IMAGESVGA", "1"}}, "3m_r16_9_r16_9_800"},
        {{}, "1_3m"},
    };
    for (const auto& [with, mode] : cases) {
        bringUp(Both, with);
        EXPECT_EQ(camera->GetImageMode(), mode);
    }
}

TEST_F(Video, TransmissionIsSetUpWithWhatIsMissing) {
    const auto with = [](Settings more) {
        more.insert({{"RTSPPORT", "554"}, {"H264RTSPMODE_2", "1"}});
        return more;
    };
    const struct {
        SVideoStreamId id;
        Settings settings;
        int needed;
        std::vector<std::string> writes;
    } cases[] = {
        {{0, H264, 1}, with({{"H264_2", "1"}}), 0, {}},
        {{0, H264, 0},
         {{"H264", "0"}},
         1,
         {"set_h264?h264_transmit=1&f_priority=1",
          "set_rtsp?h264_rtsp_mode=1&h264_rtsp_mode2=1&rtsp_port=554"}},
        // Frame priority alone is reported, and never sent.
        {{0, H264, 1}, with({{"H264_2", "1"}, {"H264FPRIORITY_2", "0"}}), 2, {}},
        {{0, Mpeg4, 1},
         {{"MPEG_2", ""}, {"RTSPMODE", "1"}},
         0,
         {"set_mpeg_2?mpeg_transmit=1&f_priority=1", "set_rtsp?rtsp_mode=1&rtsp_mode2=1&rtsp_port=554"}},
        {{0, Mpeg4, 0},
         {{"MPEG", "1"}, {"RTSPMODE", "1"}, {"RTSPPORT", "5554"}},
         0,
         {"set_rtsp?rtsp_mode=1&rtsp_mode2=1&rtsp_port=554"}},
        {{0, Mjpeg, 0}, {{"MPEG", "1"}}, 0, {"set_mpeg?mpeg_transmit=0"}},
        {{0, Mjpeg, 0}, {{"MPEG", "1"}, {"STREAMMODE", "0"}}, 0, {}},
        {{0, VideoCodec(3), 0}, {}, 0, {}},
    };
    for (const auto& c : cases) {
        bringUp(Both, c.settings);
        SVideoStreamId id = c.id;
        EXPECT_EQ(camera->GetH264Mpeg4TransmissionMode(id), c.needed);
        EXPECT_FALSE(camera->SetupStreamTransmition(id));
        EXPECT_EQ(writes(), c.writes);
    }
}

const std::string Ranges = std::string(Both) +
                           "video_server.image.mode=1_3m,3m\r\n"
                           "video_server.image.mpeg4.bandwidth=a,b,64,128\r\n"
                           "video_server.image.mjpeg.framerate=1,2,3,5,6,10,0.5,x,12.0\r\n"
                           "video_server.image.mpeg4.framerate=1,2,3.5,5,15,30\r\n"
                           "video_server.image.mpeg4.max_framerate.1_3m=15\r\n"
                           "video_server.image.mjpeg.max_framerate.3m=\r\n"
                           "video_server.image.mpeg4.max_framerate.3m=\r\n"
                           "video_server.image.h264.max_framerate.3m=\r\n"
                           "video_server.image.h264.framerate=1,5,0\r\n"
                           "video_server.image.h264.i_interval=0.5,1,2,x\r\n"
                           "video_server.image.h264.resolution_each_mode.1_3m=640x480,320x240\r\n";

TEST_F(Video, RangesFollowTheImageMode) {
    using C = CPanasonicCamera;
    bringUp(Ranges, {{"STREAMMODE", "0"}, {"H264NRFRAMERATE", "30"}});
    EXPECT_THAT(range(&C::getVideoCodecResolutionRange, 0, 0, H264), ElementsAre("320x240", "640x480"));
    EXPECT_THAT(range(&C::getVideoCodecResolutionRange, 0, 0, Mjpeg), IsEmpty());
    EXPECT_EQ(Told(error), "7 0 Device not accessible");
    EXPECT_THAT(range(&C::getVideoCodecBitRateRange, 0, 0, Mpeg4), ElementsAre("64", "128"));
    EXPECT_THAT(range(&C::getVideoCodecBitRateRange, 0, 0, Mjpeg), IsEmpty());
    EXPECT_FALSE(error);
    EXPECT_THAT(range(&C::getVideoCodecBitRateRange, 0, 0, H264), IsEmpty());
    EXPECT_EQ(Told(error), "3 3 VideoCodecBitRate property is not supported");
    EXPECT_THAT(range(&C::getVideoCodecQualityRange, 0, 0, Mpeg4), ElementsAre("0", "100", "50"));
    EXPECT_THAT(range(&C::getVideoCodecQualityRange, 0, 0, Mjpeg), ElementsAre("10", "100", "10"));
    EXPECT_THAT(range(&C::getVideoCodecFrameRateRange, 0, 0, Mpeg4), ElementsAre("1", "2", "5", "15"));
    EXPECT_THAT(range(&C::getVideoCodecFrameRateRange, 0, 0, VideoCodec(5)), IsEmpty());
    EXPECT_EQ(Told(error), "7 3 Wrong parameter passed- Codec Information");
    using HostForm = CError (C::*)(int, int, VideoCodec, std::vector<CString>&, CVAPI_VALUE_TYPE&);
    const HostForm intervals = &C::getVideoCodecKeyFrameIntervalRange;
    EXPECT_THAT(range(intervals, 0, 0, H264), ElementsAre("30", "60"));
    EXPECT_THAT(range(intervals, 0, 1, H264), IsEmpty());
    EXPECT_EQ(Told(error), "7 3 Device access failed");

    bringUp(Ranges, {}); // without a family switch MPEG-4 runs at the MJPEG rates, but for two
    EXPECT_THAT(range(&C::getVideoCodecFrameRateRange, 0, 0, Mpeg4),
                ElementsAre("1", "3", "5", "10", "12.0"));

    bringUp(Ranges, {{"IMAGESELECT", "3m"}}); // a mode without a highest frame rate
    EXPECT_THAT(range(&C::getVideoCodecFrameRateRange, 0, 0, Mjpeg), IsEmpty());
    EXPECT_EQ(Told(error), "7 3 Device access failed");
    EXPECT_THAT(range(&C::getVideoCodecFrameRateRange, 0, 0, Mpeg4), IsEmpty());
    EXPECT_EQ(Told(error), "3 3 MPEG-4 stream does not support the current image ratio or resolution");
    EXPECT_THAT(range(&C::getVideoCodecFrameRateRange, 0, 0, H264), ElementsAre("0"));
    EXPECT_FALSE(error);
}

TEST_F(Video, Defaults) {
    using C = CPanasonicCamera;
    bringUp(Ranges, {{"STREAMMODE", "0"}});
    EXPECT_EQ(defaultOf(&C::getVideoCodecResolutionDefault, H264), "640x480");
    EXPECT_EQ(defaultOf(&C::getVideoCodecFrameRateDefault, Mpeg4), "15");
    EXPECT_EQ(defaultOf(&C::getVideoCodecQualityDefault, Mpeg4), "100"); // the model's
    EXPECT_EQ(defaultOf(&C::getVideoCodecQualityDefault, H264), "50");
    EXPECT_EQ(defaultOf(&C::getVideoCodecQualityDefault, Mjpeg), "80");
    EXPECT_EQ(defaultOf(&C::getVideoCodecBitRateDefault, Mjpeg), "500");
    EXPECT_EQ(defaultOf(&C::getVideoCodecBitRateDefault, Mpeg4), "128");
    EXPECT_EQ(defaultOf(&C::getVideoCodecBitRateDefault, H264),
              "3 3 VideoCodecBitRate property is not supported");
    EXPECT_EQ(defaultOf(&C::getVideoCodecKeyFrameIntervalDefault, H264), "0");
    EXPECT_EQ(defaultOf(&C::getVideoCodecKeyFrameIntervalDefault, Mjpeg), "7 3 Device access failed");
    EXPECT_EQ(defaultOf(&C::getVideoCodecBitRateControlDefault, H264),
              "3 3 VideoCodecBitrateControl property is not supported");

    bringUp("video_server.image.mpeg4.bandwidth=1,2,3,4,5,6,7,8,9,10,11,12\r\n", {});
    EXPECT_EQ(defaultOf(&C::getVideoCodecBitRateDefault, Mpeg4), "9"); // the seventh of the range
    EXPECT_EQ(defaultOf(&C::getVideoCodecFrameRateDefault, H264), "7 3 Device access failed");
}

TEST(CodecConversion, FieldsInBothForms) {
    const std::tuple<const char*, const char*, const char*> intervals[] = {
        {"10", "30", "0.33"}, {"60", "30", "2"}, {"6", "30", "0.2"},      {"9", "44", "0.33"},
        {"15", "30", "0.5"},  {"16", "30", "1"}, {"50", "30", "1.66667"}, {"31", "30", "1.03333"},
        {"10", "0", "-"},     {"10", "-5", "-"}, {"x", "30", "-"},        {"10", "", "-"},
        {"1e999", "30", "-"}, {"10", "nan", "-"}};
    for (const auto& [frames, fps, seconds] : intervals)
        EXPECT_EQ(KeyFrameSeconds(frames, fps).value_or("-"), seconds) << frames << " at " << fps;
    EXPECT_EQ(*KeyFrameFrames("0.33", "30"), "9.9");
    EXPECT_EQ(*CameraQuality(Mjpeg, "80"), "2");
    EXPECT_EQ(*CameraQuality(Mjpeg, "101"), "5");
    EXPECT_EQ(*CameraQuality(Mpeg4, "50"), "normal");
    EXPECT_EQ(*CameraQuality(Mpeg4, "49"), "fine");
    EXPECT_EQ(*CameraQuality(Mpeg4, "0"), "low");
    EXPECT_EQ(*CameraQuality(H264, "0"), "");
    EXPECT_FALSE(CameraQuality(Mjpeg, std::string(10000, '9')));
    EXPECT_EQ(*RecorderQuality(Mjpeg, "9"), "10");
    EXPECT_EQ(*RecorderQuality(Mjpeg, "-1"), "50");
    EXPECT_EQ(*RecorderQuality(Mjpeg, "-2147483648"), "50");
    EXPECT_EQ(*RecorderQuality(Mpeg4, "normal"), "50");
    EXPECT_EQ(*RecorderQuality(Mpeg4, "best"), "100");
    EXPECT_FALSE(RecorderQuality(H264, "9"));
    EXPECT_FALSE(ResolutionWidth("640*480"));
}

SVornVidValsInDb Record(const char* resolution, const char* quality, const char* frameRate,
                        const char* keyFrameInterval) {
    SVornVidValsInDb record;
    record.resolution = resolution;
    record.quality = quality;
    record.frameRate = frameRate;
    record.keyFrameInterval = keyFrameInterval;
    return record;
}

TEST_F(Video, EachCodecIsSetWithItsOwnRequest) {
    const SVornVidValsInDb record = Record("640x480", "80", "30", "10");
    const struct {
        Settings settings;
        SVideoStreamId id;
        std::vector<std::string> writes;
    } cases[] = {
        {{}, {0, Mjpeg, 0}, {"set_jpeg?jpeg_resolution=640&jpeg_quality=2&jpeg_interval=30"}},
        {{}, {2, Mjpeg, 0}, {"set_jpeg?jpeg_resolution_ch2=640&jpeg_quality_ch2=2&jpeg_interval_ch2=30"}},
        {{{"STREAMMODE", "0"}},
         {0, Mpeg4, 0},
         {"set_mpeg?mpeg_resolution=640&mpeg_Ivop=0.33&nr_framerate=30"}},
        {{{"STREAMMODE", "0"}, {"FPRIORITY_2", "0"}},
         {0, Mpeg4, 1},
         {"set_mpeg_2?mpeg_transmit=1&f_priority=1&mpeg_resolution=640&mpeg_Ivop=0.33&nr_framerate=30"}},
        {{}, {0, Mpeg4, 0}, {"setdata?NRFRAMERATE=30", "set_mpeg?mpeg_resolution=640&mpeg_Ivop=0.33"}},
        {{}, {0, Mpeg4, 2}, {}},
        {{{"H264", "0"}},
         {0, H264, 0},
         {"set_h264?h264_transmit=1&f_priority=1&nr_framerate=30&h264_resolution=640&h264_Ivop=0.33"}},
        {{}, {0, H264, 1}, {"set_h264_2?nr_framerate=30&h264_resolution=640&h264_Ivop=0.33"}},
    };
    for (const auto& c : cases) {
        bringUp(Both, c.settings);
        EXPECT_FALSE(camera->setVideoCodecToCamera(c.id.channel, c.id.stream, c.id.codec, record));
        EXPECT_EQ(writes(), c.writes);
    }
}

TEST_F(Video, SynchronisationEndsWithWhatTheCameraAccepted) {
    const Settings set = {
        {"STREAMMODE", "1"},       {"H264", "1"},       {"H264RTSPMODE", "1"}, {"RTSPPORT", "554"},
        {"H264NRFRAMERATE", "30"}, {"H264SIZE", "320"}, {"H264RINT", "1"}};
    bringUp(Ranges, set);
    SVornVidValsInDb record = Record("640x480", "10", "25", "50");
    accepts = set;
    (*accepts)["H264SIZE"] = "640";
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, {0, H264, 0})),
              "2 3 Need write the camera value back to db cache.");
    EXPECT_THAT(writes(), ElementsAre("set_h264?nr_framerate=25&h264_resolution=640&h264_Ivop=2"));
    EXPECT_EQ(record.resolution, "640x480");
    EXPECT_EQ(record.frameRate, "30");
    EXPECT_EQ(record.keyFrameInterval, "30");
    EXPECT_EQ(record.quality, "10"); // not the camera's

    EXPECT_FALSE(camera->syncVideoCodecProperties(record, {0, H264, 0})); // nothing left to change
    EXPECT_THAT(writes(), IsEmpty());

    (*accepts)["H264SIZE"] = "800"; // a width that no mode has
    record.frameRate = "5";
    EXPECT_EQ(camera->syncVideoCodecProperties(record, {0, H264, 0}).getCode(), 2);
    EXPECT_EQ(record.resolution, "640x480");

    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, {0, VideoCodec(7), 0})),
              "16 3 property not found");
}

TEST_F(Video, ACameraThatStopsAfterTheWriteLeavesTheRecordAlone) {
    bringUp(Ranges, {{"STREAMMODE", "1"}, {"H264", "1"}, {"H264SIZE", "320"}});
    stub.reply("/cgi-bin/setdata", std::string());
    SVornVidValsInDb record = Record("640x480", "", "25", "50");
    EXPECT_EQ(camera->syncVideoCodecProperties(record, {0, H264, 0}).getCode(), 2);
    EXPECT_EQ(record.resolution, "640x480");
    EXPECT_EQ(record.frameRate, "25");
    EXPECT_EQ(record.keyFrameInterval, "50");
}

TEST_F(Video, SettersWriteTheRecordAndAnEncodersForEveryInput) {
    bringUp(Ranges, {}, "GXE500");
    CString value;
    EXPECT_FALSE(camera->setVideoCodecFrameRate(0, 1, Mpeg4, "5"));
    for (int input : {0, 1})
        for (int stream : {0, 1}) {
            EXPECT_FALSE(camera->getVideoCodecFrameRate(input, stream, Mpeg4, value)) << input << stream;
            EXPECT_EQ(value, "5");
        }
    EXPECT_FALSE(camera->setVideoCodecResolution(1, 0, Mpeg4, "1x1")); // of one input
    EXPECT_FALSE(camera->getVideoCodecResolution(1, 0, Mpeg4, value));
    EXPECT_EQ(value, "1x1");
    EXPECT_TRUE(camera->getVideoCodecResolution(0, 0, Mpeg4, value));

    EXPECT_EQ(Told(camera->setVideoCodecBitRate(0, 0, Mpeg4, "65")), "15 3 VideoCodecBitRate out of range");
    EXPECT_FALSE(camera->setVideoCodecBitRate(0, 0, Mpeg4, "64"));
    EXPECT_EQ(camera->setVideoCodecQuality(2, 0, Mpeg4, "50").getCode(), 15);
    EXPECT_EQ(camera->setVideoCodecQuality(0, 0, Mpeg4, "").getCode(), 15);
}

} // namespace
} // namespace corvane::panasonic_camera
