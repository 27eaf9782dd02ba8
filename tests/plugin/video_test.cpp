// Video: stream mode and transmission, the queries of a codec's settings, and synchronisation.

#include "camera/codec_conversion.h"

#include "refhost/base/device_db.h"
#include "tests/plugin/camera_bench.h"

#include <boost/algorithm/string/replace.hpp>
#include <gmock/gmock.h>

#include <sstream>
#include <tuple>

namespace corvane::panasonic_camera {
namespace {

using namespace test_support;
using testing::ElementsAre;
using testing::IsEmpty;
using vorn_camera_base::v1_0::SVideoField;
using vorn_camera_base::v1_0::VideoFields;
using C = CPanasonicCamera;
using Range = CError (C::*)(int, int, VideoCodec, std::vector<CString>&, CVAPI_VALUE_TYPE&);
using Value = CError (C::*)(int, int, VideoCodec, std::string&);
using Setter = CError (C::*)(int, int, VideoCodec, CString);

constexpr VideoCodec Mjpeg = VideoCodec::Mjpeg, Mpeg4 = VideoCodec::Mpeg4, H264 = VideoCodec::H264,
                     Unknown = VideoCodec(7);
constexpr const char* NotAccessible = "7 0 Device not accessible";
constexpr const char* AccessFailed = "7 3 Device access failed";
constexpr const char* NoSettings = "16 3 property not found";
constexpr const char* NotInMode = "3 3 MPEG-4 stream does not support the current image ratio or resolution";
constexpr const char* NoBitRate = "3 3 VideoCodecBitRate property is not supported";
constexpr const char* NoBitRateControl = "3 3 VideoCodecBitrateControl property is not supported";
constexpr const char* WriteBack = "2 3 Need write the camera value back to db cache.";

// A device with a database.
class CRecordedDevice : public CFakeDevice {
public:
    boost::shared_ptr<IDeviceDbProxy> getDeviceDbProxy() override { return database_->proxy("x"); }

private:
    std::shared_ptr<refhost::CDeviceDb> database_ = refhost::CDeviceDb::open("");
};

std::vector<SModelInfo> VideoModels() {
    SModelInfo model;
    model.number = "GXE50";
    model.videoInputs = 6;
    model.codecStreams = {{"mjpeg", 9}, {"mpeg4", 12}, {"h264", 10}};
    model.cameraStreams = 10;
    model.defaultQuality = {{"mjpeg", "70"}, {"mpeg4", "90"}, {"h264", "60"}};
    model.defaultBitRate = {{"mjpeg", "1"}, {"mpeg4", "1536"}, {"h264", "4096"}};
    SModelInfo encoder = model;
    encoder.number = "GXE500B";
    SModelInfo bare;
    bare.number = "bare";
    bare.codecStreams = {{"mjpeg", 1}};
    bare.defaultQuality = bare.defaultBitRate = {{"mpeg4", ""}};
    return {model, encoder, bare};
}

// The fields in their order.
std::string Text(const SVornVidValsInDb& record) {
    std::string text;
    for (const SVideoField& field : VideoFields)
        text += "|" + (record.*field.value).str();
    return text.substr(1);
}

// "KEY=VALUE KEY=VALUE".
std::map<std::string, std::string> Keys(const std::string& text) {
    std::map<std::string, std::string> keys;
    std::istringstream in(text);
    for (std::string pair; in >> pair;)
        keys[pair.substr(0, pair.find('='))] = pair.substr(pair.find('=') + 1);
    return keys;
}

class Video : public CCameraBench {
protected:
    Video() : CCameraBench(VideoModels()) {
        device = boost::make_shared<CRecordedDevice>();
        stub.reply(Setdata, [this](std::size_t) { return HttpOk(dump()); });
        for (const char* name : {"set_mpeg", "set_mpeg_2", "set_h264", "set_h264_2", "set_jpeg", "set_rtsp"})
            stub.reply("/cgi-bin/" + std::string(name), [this](std::size_t) {
                const std::lock_guard<std::mutex> lock(settingsMutex);
                if (accepted)
                    settings = *accepted;
                return HttpReply(writeStatus, "OK");
            });
    }
    void start(const std::string& capability, const Settings& with, const char* number = "GXE50") {
        bringUp(number, with, capability);
        told = stub.requests().size();
    }
    // What the camera's settings are once it has been written to, and how it answers that.
    void accept(const Settings& with, int status = 200) {
        const std::lock_guard<std::mutex> lock(settingsMutex);
        accepted = with;
        writeStatus = status;
    }
    // What has come since the last call: writes as "PATH?BODY", and "setdata" where the settings are read.
    Requests sent() {
        camera->GetImageMode(); // waits for settings that are being read
        Requests texts;
        const std::vector<SStubRequest> all = stub.requests();
        for (; told < all.size(); ++told)
            texts.push_back(all[told].target.substr(9) +
                            (all[told].method == "POST" ? "?" + all[told].body : ""));
        return texts;
    }
    // The value type and the values, or the error.
    std::string ask(Range operation, const SVideoStreamId& id) {
        std::vector<CString> values{"before"};
        auto type = CVAPI_VALUE_TYPE(9);
        const CError error = ((*camera).*operation)(id.channel, id.stream, id.codec, values, type);
        std::string text = error ? Told(error) : std::to_string(static_cast<int>(type));
        for (std::size_t i = 1; i < values.size(); ++i)
            text += (i == 1 ? " " : ",") + values[i].str();
        EXPECT_EQ(values[0], "before");
        return text;
    }
    std::string ask(Value operation, const SVideoStreamId& id) {
        std::string value = "before";
        const CError error = ((*camera).*operation)(id.channel, id.stream, id.codec, value);
        EXPECT_TRUE(!error || value == "before");
        return error ? Told(error) : value;
    }
    // Of the streams of channel 0: MJPEG, the two of MPEG-4, the two of H.264.
    template <class Operation>
    Requests askAll(Operation operation) {
        Requests texts;
        for (const SVideoStreamId& id : Streams)
            texts.push_back(ask(operation, id));
        return texts;
    }
    // H.264's keys last, as cameras have them: a key is also found at the end of a longer one.
    std::string dump() const {
        const std::lock_guard<std::mutex> lock(settingsMutex);
        std::string first = "x", ofH264;
        for (const auto& [key, value] : settings)
            (key.compare(0, 4, "H264") == 0 ? ofH264 : first) += "\r\n" + key + ",\"" + value + "\"\r\n";
        return first + ofH264;
    }

    static constexpr SVideoStreamId Streams[] = {
        {0, Mjpeg, 0}, {0, Mpeg4, 0}, {0, Mpeg4, 1}, {0, H264, 0}, {0, H264, 1}};
    std::size_t told = 0;
    std::optional<Settings> accepted; // guarded by settingsMutex, like the next
    int writeStatus = 200;
};

TEST_F(Video, TheRunningFamilyDecidesTheCodecSlots) {
    const struct {
        const char *formats, *settings, *slot0;
        bool isTransmitted;
        int mode;
    } cases[] = {
        {"mjpeg,mpeg4,h264", "STREAMMODE=0 MPEG=1 H264=0", "1", true, 1},
        {"mjpeg,mpeg4,h264", "STREAMMODE=1 MPEG=1 H264=0", "2", false, 2},
        {"mjpeg,mpeg4,h264", "STREAMMODE=2 H264=1", "2", true, 1}, // the two tests of the mode differ
        {"mjpeg,mpeg4,h264", "MPEG=1 H264=1", "7 3 property not found", false, 1},
        {"mjpeg,h264", "STREAMMODE=0 H264=1 MPEG=0", "2", true, 1},
        {"mjpeg,mpeg4", "STREAMMODE=1 H264=0 MPEG=1", "1", true, 1},
        {"mjpeg,mpeg4", "STREAMMODE=1 H264=1 MPEG=2", "1", false, 1},
        {"mjpeg", "MPEG=1 H264=1", "", false, 0},
    };
    for (const auto& c : cases) {
        start(std::string("video_server.image.format=") + c.formats, Keys(c.settings));
        for (const auto& [index, id] : {std::pair("-1", ""), {"0", c.slot0}, {"1", "0"}, {"2", ""}})
            EXPECT_THAT(answered("getVideoCodecId", {"0", index}), ElementsAre(id)) << c.formats;
        EXPECT_EQ(camera->IsH264OrMPEG4Supported(), c.isTransmitted) << c.slot0;
        EXPECT_EQ(camera->GetH264Mpeg4Mode(), c.mode);
        EXPECT_THAT(answered("getVideoCodecCount", {"0"}), ElementsAre(c.mode == 0 ? "1" : "2"));
    }
}

TEST_F(Video, StreamsAreThoseOfTheCameraAsFarAsItHasThem) {
    const auto maxStreams = [this](const char* codec) {
        return answered("getVideoCodecMaxStreams", {"0", codec})[0];
    };
    start("x", {});
    EXPECT_EQ(maxStreams("mjpeg"), "9");
    EXPECT_EQ(maxStreams("mpeg4"), "10");
    EXPECT_EQ(maxStreams("h264"), "10");
    int stream = 7;
    EXPECT_EQ(camera->mapVideoStreamToActualCameraStream({2, Mpeg4, 10}, stream), 2);
    EXPECT_EQ(stream, 7);
    EXPECT_EQ(camera->mapVideoStreamToActualCameraStream({2, Mpeg4, 9}, stream), 1);
    EXPECT_EQ(stream, 9);
    EXPECT_EQ(camera->findAssociatedStream({2, Mpeg4, 11}), 11);

    start("x", {}, "bare");
    EXPECT_EQ(maxStreams("mpeg4"), "3 0 the model has no mpeg4 streams");
    EXPECT_EQ(maxStreams("mjpeg"), "3 0 the model has no number of camera streams");
    EXPECT_EQ(camera->mapVideoStreamToActualCameraStream({0, Mjpeg, 0}, stream), 2);
}

TEST_F(Video, ImageModes) {
    const std::pair<const char*, const char*> cases[] = {
        {"IMAGESELECT=1.3m IMAGERATIO=4_3 IMAGESVGA=1", "1_3m_r4_3_800"},
        {"IMAGESELECT=1.3.m IMAGERATIO=4_3", "1_3_m"},
        {"IMAGERATIO=16_9 IMAGESVGA=0", "1_3m_r16_9"},
        {"IMAGESELECT=3m IMAGERATIO=16_9 IMAGESVGA=1", "3m_r16_9_r16_9_800"},
        {"", "1_3m"},
    };
    for (const auto& [with, mode] : cases) {
        start("x", Keys(with));
        EXPECT_EQ(camera->GetImageMode(), mode);
    }
}

TEST_F(Video, EachStreamIsSetUpByItsOwnSettings) {
    const struct {
        SVideoStreamId id;
        const char *transmission, *framePriority, *rtsp, *path;
        int number;
    } streams[] = {
        {{0, Mpeg4, 0}, "MPEG", "FPRIORITY", "RTSPMODE", "set_mpeg", 1},
        {{1, Mpeg4, 1}, "MPEG_2", "FPRIORITY_2", "RTSPMODE_2", "set_mpeg_2", 2},
        {{1, H264, 2}, "H264", "H264FPRIORITY", "H264RTSPMODE", "set_h264", 1},
        {{0, H264, 1}, "H264_2", "H264FPRIORITY_2", "H264RTSPMODE_2", "set_h264_2", 2},
    };
    Settings off;
    for (const auto& stream : streams)
        for (const char* key : {stream.transmission, stream.framePriority, stream.rtsp})
            off[key] = "0";
    for (const auto& stream : streams) {
        SVideoStreamId id = stream.id;
        const bool isMpeg4 = id.codec == Mpeg4;
        const std::string transmit = stream.path + std::string(isMpeg4 ? "?mpeg_transmit=1&f_priority=1"
                                                                       : "?h264_transmit=1&f_priority=1");
        const std::string deliver = isMpeg4 ? "set_rtsp?rtsp_mode=1&rtsp_mode2=1&rtsp_port=554"
                                            : "set_rtsp?h264_rtsp_mode=1&h264_rtsp_mode2=1&rtsp_port=554";
        const struct {
            const char *key, *value;
            int needed;
            Requests sent;
        } cases[] = {
            {"RTSPPORT", "554", 0, {}}, // nothing is missing
            {stream.transmission, "0", stream.number, {transmit}},
            {stream.transmission, "", 0, {transmit}},
            {stream.framePriority, "0", stream.number, {}}, // reported, and never sent alone
            {stream.framePriority, "", 0, {}},
            {stream.rtsp, "0", 0, {deliver}},
            {"RTSPPORT", "5554", 0, {deliver}},
        };
        for (const auto& c : cases) {
            Settings with = off;
            with[stream.transmission] = with[stream.framePriority] = with[stream.rtsp] = "1";
            with["RTSPPORT"] = "554";
            with[c.key] = c.value;
            start("x", with);
            EXPECT_EQ(camera->GetH264Mpeg4TransmissionMode(id), c.needed) << stream.transmission << c.key;
            EXPECT_FALSE(camera->SetupStreamTransmition(id));
            EXPECT_EQ(sent(), c.sent) << stream.transmission << c.key; // without a reload
        }
        accept({}, 500);
        start("x", {});
        EXPECT_FALSE(camera->SetupStreamTransmition(id)); // refused, and gone on with
        EXPECT_THAT(sent(), ElementsAre(transmit, deliver));
    }
}

TEST_F(Video, MjpegSwitchesMpeg4OffWhereThereIsNoFamilySwitch) {
    const std::tuple<VideoCodec, const char*, Requests> cases[] = {
        {Mjpeg, "MPEG=1", {"set_mpeg?mpeg_transmit=0"}},
        {Mjpeg, "MPEG=2", {}},
        {Mjpeg, "MPEG=1 STREAMMODE=0", {}},
        {Unknown, "MPEG=1", {}},
    };
    for (const auto& [codec, with, expected] : cases) {
        start("x", Keys(with));
        SVideoStreamId id{0, codec, 1};
        EXPECT_EQ(camera->GetH264Mpeg4TransmissionMode(id), 0);
        EXPECT_FALSE(camera->SetupStreamTransmition(id));
        EXPECT_EQ(sent(), expected);
    }
}

// "KEY=VALUE;KEY=VALUE".
std::string Capability(const std::string& image) {
    return "video_server.image." + boost::replace_all_copy(image, ";", "\r\nvideo_server.image.") + "\r\n";
}

const std::string Ranges = Capability(
    "mode=1_3m,3m;mpeg4.bandwidth=a,b,64,1024,2048;"
    "mjpeg.resolution_each_mode.1_3m=1280x961,320x241,640x481;"
    "mpeg4.resolution_each_mode.1_3m=640x482,320x242;mpeg4-2.resolution_each_mode.1_3m=640x483,320x243;"
    "h264.resolution_each_mode.1_3m=1280x964,640x484,320x244;"
    "h264-2.resolution_each_mode.1_3m=640x485,320x245;h264.resolution_each_mode.3m=2048x1536;"
    "h264.resolution=800x600;mjpeg.framerate=1,2,3,5,6,10,0.5,x,-inf, 11,12.0,16,20;"
    "mpeg4.framerate=1,2,3.5,7,15,16;mpeg4-2.framerate=4,16,17;h264.framerate=0,3,17,18;"
    "h264-2.framerate=6,18,19;mjpeg.max_framerate.1_3m=11;mpeg4.max_framerate.1_3m=15;"
    "mpeg4-2.max_framerate.1_3m=16;h264.max_framerate.1_3m=17;h264-2.max_framerate.1_3m=18;"
    "mjpeg.max_framerate.3m=;mpeg4.max_framerate.3m=;h264.max_framerate.3m=;mpeg4.i_interval=0.5,2,1;"
    "mpeg4-2.i_interval=3,5;h264.i_interval=0.5,1, 4,x;h264-2.i_interval=70,60");

// What the camera reports of every stream; the last four are never read.
const auto Reported =
    Keys("STREAMMODE=1 RTSPPORT=554 MPEG=1 MPEG_2=1 H264=1 H264_2=1 RTSPMODE=1 RTSPMODE_2=1 "
         "H264RTSPMODE=1 H264RTSPMODE_2=1 LIVESIZE=320 LIVEINT=11 LIVEQUAL=1 "
         "LIVESIZECH1=640 LIVEINTCH1=10 LIVEQUALCH1=2 LIVESIZECH5=1280 LIVEINTCH5=6 "
         "LIVEQUALCH5=3 MPEGSIZE=320 NRFRAMERATE=15 MPEGQUAL=low RINT=1 MPEGBWC=1024 "
         "MPEGSIZE_2=640 NRFRAMERATE_2=16 MPEGQUAL_2=normal RINT_2=2 MPEGBWC_2=2048 "
         "H264SIZE=640 H264NRFRAMERATE=17 H264RINT=3 H264SIZE_2=320 "
         "H264NRFRAMERATE_2=18 H264RINT_2=4 H264QUAL=5 H264QUAL_2=6 H264BWC=4096 H264BWC_2=8192");

TEST_F(Video, RangesAreThoseOfTheStreamInTheImageMode) {
    constexpr Range Resolution = &C::getVideoCodecResolutionRange, BitRate = &C::getVideoCodecBitRateRange,
                    Quality = &C::getVideoCodecQualityRange, FrameRate = &C::getVideoCodecFrameRateRange,
                    Interval = &C::getVideoCodecKeyFrameIntervalRange;
    const char* noQuality = "3 3 VideoCodecQuality property is not supported for an H.264 stream";
    start(Ranges, Reported);
    EXPECT_THAT(askAll(Resolution),
                ElementsAre("1 320x241,640x481,1280x961", "1 320x242,640x482", "1 320x243,640x483",
                            "1 320x244,640x484,1280x964", "1 320x245,640x485"));
    // The first is no range; its type is left alone.
    EXPECT_THAT(askAll(BitRate), ElementsAre("9", "1 64,1024,2048", "1 64,1024,2048", NoBitRate, NoBitRate));
    EXPECT_THAT(askAll(Quality),
                ElementsAre("0 10,100,10", "0 0,100,50", "0 0,100,50", noQuality, noQuality));
    EXPECT_THAT(askAll(FrameRate),
                ElementsAre("1 1,2,3,5,6,10, 11", "1 1,2,7,15", "1 4,16", "1 0,3,17", "1 6,18"));
    EXPECT_THAT(askAll(Interval), ElementsAre("1", "1 30,15", "1 48,80", "1 17,68", "1 1260,1080"));
    EXPECT_EQ(ask(Interval, {2, Mjpeg, 0}), AccessFailed); // a channel that reports no frame rate
    EXPECT_EQ(ask(&C::getVideoCodecBitRateControlRange, {0, Mpeg4, 0}), NoBitRateControl);
    EXPECT_EQ(ask(Resolution, {0, Unknown, 0}), NotAccessible);
    EXPECT_EQ(ask(BitRate, {0, Unknown, 0}), "9");
    EXPECT_EQ(ask(Quality, {0, Unknown, 0}), "0 10,100,10");
    EXPECT_EQ(ask(FrameRate, {0, Unknown, 0}), "7 3 Wrong parameter passed- Codec Information");

    start(Ranges, Keys("IMAGESELECT=3m STREAMMODE=0")); // a mode without highest frame rates
    EXPECT_EQ(ask(Resolution, {0, H264, 0}), "1 2048x1536");
    EXPECT_EQ(ask(Resolution, {0, Mjpeg, 0}), NotAccessible);
    EXPECT_THAT(askAll(FrameRate), ElementsAre(AccessFailed, NotInMode, "1 4,16,17", "1 0", "1 6,18,19"));

    start(Ranges, {}); // without a family switch MPEG-4 runs at the MJPEG rates, but for two
    EXPECT_THAT(askAll(FrameRate), ElementsAre("1 1,2,3,5,6,10, 11", "1 1,3,5,10, 11,12.0",
                                               "1 1,3,5,10, 11,12.0,16", "1 0,3,17", "1 6,18"));

    std::string withoutModes = Ranges;
    withoutModes.erase(withoutModes.find("mode="), 1);
    start(withoutModes, {});
    EXPECT_EQ(ask(Resolution, {0, H264, 0}), "1 800x600");
    EXPECT_EQ(ask(FrameRate, {0, H264, 0}), "1 0,3,17,18");
}

TEST_F(Video, ListsAndFrameRatesOfTheMoment) {
    start(Ranges, Reported);
    std::vector<CString> texts{"before"};
    EXPECT_FALSE(camera->getVideoCodecResolutionList(1, Mpeg4, texts));
    EXPECT_THAT(texts, ElementsAre(CString("before"), CString("320x242"), CString("640x482")));
    EXPECT_THAT(answered("getVideoCodecProperties", {"0"}),
                ElementsAre("VideoCodecProperties", "VideoCodecCount", "VideoCodecList", "VideoCodecId",
                            "VideoCodecName", "VideoCodecMime", "VideoCodecMaxStreams", "VideoCodecStreams",
                            "VideoCodecResolution", "VideoCodecResolutionList", "VideoCodecBitRate",
                            "VideoCodecQuality", "VideoCodecFrameRate", "VideoCodecKeyFrameInterval"));
    constexpr Value FrameRate = &C::getVideoCodecFpsCurrentValue;
    EXPECT_THAT(askAll(FrameRate), ElementsAre("11", "15", "16", "17", "18"));
    EXPECT_EQ(ask(FrameRate, {-1, Mjpeg, 1}), "11");
    EXPECT_EQ(ask(FrameRate, {1, Mjpeg, 0}), "10");
    EXPECT_EQ(ask(FrameRate, {5, Mjpeg, 0}), "6");
    EXPECT_EQ(ask(FrameRate, {3, Mjpeg, 0}), AccessFailed);
    EXPECT_EQ(ask(FrameRate, {3, Unknown, 1}), "18");
    const std::pair<const char*, Requests> intervals[] = {{"12.5", {"25", "12.5"}},
                                                          {"600000", {"1.2e+06", "600000"}},
                                                          {"1e308", {"1e+308"}},
                                                          {"x", {}},
                                                          {"", {}}};
    for (const auto& [frameRate, frames] : intervals)
        EXPECT_EQ(answered("getVideoCodecKeyFrameIntervalRange", {"0", "0", "mpeg4", frameRate}), frames);
}

TEST_F(Video, Defaults) {
    constexpr Value Resolution = &C::getVideoCodecResolutionDefault,
                    BitRate = &C::getVideoCodecBitRateDefault, Quality = &C::getVideoCodecQualityDefault,
                    FrameRate = &C::getVideoCodecFrameRateDefault,
                    Interval = &C::getVideoCodecKeyFrameIntervalDefault;
    start(Ranges, Reported);
    EXPECT_THAT(askAll(Resolution), ElementsAre("1280x961", "640x482", "640x483", "1280x964", "640x485"));
    EXPECT_THAT(askAll(Quality), ElementsAre("70", "90", "90", "60", "60")); // the model's
    EXPECT_THAT(askAll(BitRate), ElementsAre("500", "1536", "1536", "4096", "4096"));
    EXPECT_THAT(askAll(FrameRate), ElementsAre(" 11", "15", "16", "17", "18"));
    EXPECT_THAT(askAll(Interval), ElementsAre(AccessFailed, "30", "48", "17", "1260"));
    EXPECT_EQ(ask(&C::getVideoCodecBitRateControlDefault, {0, Mpeg4, 0}), NoBitRateControl);

    start(Ranges, Keys("IMAGESELECT=3m STREAMMODE=0 NRFRAMERATE=9 NRFRAMERATE_2=9"), "bare");
    EXPECT_EQ(ask(Resolution, {0, Mjpeg, 0}), NotAccessible);
    EXPECT_THAT(askAll(Quality), ElementsAre("80", "50", "50", "50", "50"));
    EXPECT_THAT(askAll(BitRate), ElementsAre("500", "2048", "2048", NoBitRate, NoBitRate));
    EXPECT_THAT(askAll(FrameRate), ElementsAre(AccessFailed, NotInMode, "17", "0", "19"));
    EXPECT_THAT(askAll(Interval),
                ElementsAre(AccessFailed, AccessFailed, "51", "0", "1330")); // not at the camera's own rate
    start(Capability("mpeg4.bandwidth=1,2,3,4,5,6,7,8,9,10"), {}, "bare");
    EXPECT_EQ(ask(BitRate, {0, Mpeg4, 0}), "9"); // the seventh
    EXPECT_EQ(ask(FrameRate, {0, H264, 0}), AccessFailed);
    start("x", {}, "bare");
    EXPECT_EQ(ask(BitRate, {0, Mpeg4, 0}), AccessFailed);
}

TEST(CodecConversion, FieldsInBothForms) {
    using Form = std::tuple<const char*, const char*, const char*>;
    const Form inSeconds[] = {
        {"10", "30", "0.33"}, {"60", "30", "2"},   {"6", "30", "0.2"},      {"9", "44", "0.33"},
        {"15", "30", "0.5"},  {"16", "30", "1"},   {"50", "30", "1.66667"}, {"31", "30", "1.03333"},
        {"34", "100", "0.5"}, {"30", "+30", "1"},  {"3000", "2", "1500"},   {"3000000", "1", "3e+06"},
        {"-10", "0", "-"},    {"10", "-5", "-"},   {"x", "30", "-"},        {"10", "", "-"},
        {"1e999", "30", "-"}, {"10", "nan", "-"},  {"inf", "30", "-"},      {"10x", "30", "-"},
        {" 10", "30", "-"},   {"+-10", "30", "-"}, {"1e300", "1e-300", "-"}};
    for (const auto& [frames, fps, expected] : inSeconds)
        EXPECT_EQ(KeyFrameSeconds(frames, fps).value_or("-"), expected) << frames << " at " << fps;
    const Form frames[] = {{"0.33", "30", "9.9"}, {"0", "30", "0"}, {"60", "50", "3000"},
                           {"x", "30", "-"},      {"2", "", "-"},   {"1e300", "1e300", "-"}};
    for (const auto& [interval, fps, expected] : frames)
        EXPECT_EQ(KeyFrameFrames(interval, fps).value_or("-"), expected) << interval << " at " << fps;
    // The recorder's quality as the camera's, of MJPEG and of MPEG-4; then the other way.
    const Form toCamera[] = {{"0", "10", "low"},   {"49", "6", "fine"},     {"50", "5", "normal"},
                             {"100", "0", "fine"}, {"101", "5", "normal"},  {"+79", "3", "fine"},
                             {"8x", "-", "-"},     {"9999999999", "-", "-"}};
    for (const auto& [quality, mjpeg, mpeg4] : toCamera) {
        EXPECT_EQ(CameraQuality(Mjpeg, quality).value_or("-"), mjpeg) << quality;
        EXPECT_EQ(CameraQuality(Mpeg4, quality).value_or("-"), mpeg4) << quality;
        EXPECT_EQ(CameraQuality(H264, quality).value_or("-"), "");
    }
    const Form toRecorder[] = {{"9", "10", "100"},           {"0", "100", "100"}, {"-1", "50", "100"},
                               {"-2147483648", "50", "100"}, {"low", "-", "0"},   {"normal", "-", "50"}};
    for (const auto& [quality, mjpeg, mpeg4] : toRecorder) {
        EXPECT_EQ(RecorderQuality(Mjpeg, quality).value_or("-"), mjpeg) << quality;
        EXPECT_EQ(RecorderQuality(Mpeg4, quality).value_or("-"), mpeg4) << quality;
        EXPECT_FALSE(RecorderQuality(H264, quality));
    }
    EXPECT_EQ(*ResolutionWidth("640x480x2"), "640");
    EXPECT_FALSE(ResolutionWidth("640*480"));
}

TEST_F(Video, OnlyFieldsThatAreSetAreConvertedAndCompared) {
    start(Ranges, Reported);
    const SVideoStreamId id{0, Mpeg4, 0};
    const SVornVidValsInDb recorder = {"20", "640x480", "50", "10", "1024", "vbr"};
    const SVornVidValsInDb ofCamera = {"20", "640", "normal", "0.5", "1024", "cbr"};
    const SVornVidValsInDb others = {"25", "320x240", "100", "20", "2048", "cbr"};
    SVornVidValsInDb forCamera, forRecorder;
    camera->convertVideoCodecToCamera(id, recorder, forCamera);
    camera->convertVideoCodecToNvr(id, ofCamera, forRecorder);
    for (int pass = 0; pass < 2; ++pass) { // the second after an interval without its frame rate
        EXPECT_EQ(Text(forCamera), "20|640|normal|0.5|1024|vbr");
        EXPECT_EQ(Text(forRecorder), "20|640x482|50|10|1024|cbr");
        camera->convertVideoCodecToCamera(id, {"", "", "", "70", "", ""}, forCamera);
        camera->convertVideoCodecToNvr(id, {"", "", "", "70", "", ""}, forRecorder);
    }
    EXPECT_TRUE(camera->isSameVideoCodecParameters(id, recorder, ofCamera));
    for (const SVideoField& row : VideoFields) {
        SVornVidValsInDb changed = recorder, silent = ofCamera;
        changed.*row.value = others.*row.value;
        silent.*row.value = "";
        EXPECT_EQ(camera->isSameVideoCodecParameters(id, changed, ofCamera),
                  row.value == &SVornVidValsInDb::bitRateControl)
            << row.name;
        EXPECT_TRUE(camera->isSameVideoCodecParameters(id, changed, silent)) << row.name;
    }

    // The first entry of the stream's range that the width is found in, else the last.
    using Width = std::tuple<VideoCodec, int, const char*, const char*>;
    const Width widths[] = {{H264, 0, "64", "640x484"},
                            {H264, 1, "40", "640x485"},
                            {H264, 0, "0", "320x244"},
                            {H264, 0, "800", "1280x964"},
                            {Unknown, 0, "640", ""}};
    for (const auto& [codec, stream, width, resolution] : widths) {
        SVornVidValsInDb converted;
        camera->convertVideoCodecToNvr({0, codec, stream}, {"", width, "", "", "", ""}, converted);
        EXPECT_EQ(converted.resolution, resolution) << width;
    }
    const std::string unknown = "3 convertVideoCodecToNvr Can't find the camera res value[";
    EXPECT_THAT(device->logLines(),
                ElementsAre(unknown + "800] in resolution list", unknown + "640] in resolution list"));
}

TEST_F(Video, AStreamIsSetWithOneRequestOrTwo) {
    const SVornVidValsInDb record = {"30", "640x480", "80", "10", "64", "vbr"};
    const std::tuple<const char*, SVideoStreamId, const char*> cases[] = {
        {"STREAMMODE=0 MPEG_2=0",
         {0, Mpeg4, 1},
         "set_mpeg_2?mpeg_transmit=1&f_priority=1&mpeg_resolution=640&mpeg_Ivop=0.33&nr_framerate=30"},
        {"STREAMMODE=0 H264=0",
         {0, H264, 2},
         "set_h264?h264_transmit=1&f_priority=1&nr_framerate=30&h264_resolution=640&h264_Ivop=0.33"},
    };
    for (const auto& [with, id, request] : cases) {
        start("x", Keys(with));
        EXPECT_FALSE(camera->setVideoCodecToCamera(id.channel, id.stream, id.codec, record));
        EXPECT_THAT(sent(), ElementsAre(request, "setdata"));
    }
    EXPECT_FALSE(camera->setVideoCodecToCamera(0, 2, Mpeg4, record));
    EXPECT_EQ(Told(camera->setVideoCodecToCamera(0, 0, Unknown, record)), NoSettings);
    EXPECT_THAT(sent(), IsEmpty());

    // Without a family switch the frame rate of MPEG-4 goes first; here it is refused, which does not count.
    start("x", Keys("FPRIORITY_2=0"));
    stub.reply(Setdata,
               [refused = told](std::size_t i) { return i == refused ? HttpReply(500) : HttpOk("x"); });
    EXPECT_FALSE(camera->setVideoCodecToCamera(0, 1, Mpeg4, record));
    EXPECT_THAT(sent(),
                ElementsAre("setdata?NRFRAMERATE=30",
                            "set_mpeg_2?mpeg_transmit=1&f_priority=1&mpeg_resolution=640&mpeg_Ivop=0.33",
                            "setdata"));
}

TEST_F(Video, SynchronisationEndsWithWhatTheCameraAccepted) {
    const struct {
        VideoCodec codec;
        int channel, stream;
        const char *reported, *accepted, *request;
    } cases[] = {
        {Mjpeg, 0, 1, "11|320|1|||", "11|320x241|90|50|512|vbr",
         "set_jpeg?jpeg_resolution=1920&jpeg_quality=6&jpeg_interval=25"},
        {Mjpeg, 1, 0, "10|640|2|||", "10|640x481|80|50|512|vbr",
         "set_jpeg?jpeg_resolution_ch1=1920&jpeg_quality_ch1=6&jpeg_interval_ch1=25"},
        {Mjpeg, 5, 0, "6|1280|3|||", "6|1280x961|70|50|512|vbr",
         "set_jpeg?jpeg_resolution_ch5=1920&jpeg_quality_ch5=6&jpeg_interval_ch5=25"},
        {Mpeg4, 0, 0, "15|320|low|1|1024|", "15|320x242|0|15|1024|vbr",
         "set_mpeg?mpeg_resolution=1920&mpeg_Ivop=2&nr_framerate=25"},
        {Mpeg4, 3, 1, "16|640|normal|2|2048|", "16|640x483|50|32|2048|vbr",
         "set_mpeg_2?mpeg_resolution=1920&mpeg_Ivop=2&nr_framerate=25"},
        {H264, 0, 0, "17|640||3||", "17|640x484|40|51|512|vbr",
         "set_h264?nr_framerate=25&h264_resolution=1920&h264_Ivop=2"},
        {H264, 1, 1, "18|320||4||", "18|320x245|40|72|512|vbr",
         "set_h264_2?nr_framerate=25&h264_resolution=1920&h264_Ivop=2"},
    };
    Settings before = Reported;
    for (auto& [key, value] : before)
        if (key.find("SIZE") != std::string::npos)
            value = "160";
    for (const auto& c : cases) {
        const SVideoStreamId id{c.channel, c.codec, c.stream};
        start(Ranges, before);
        accept(Reported);
        SVornVidValsInDb record = {"25", "1920x1080", "40", "50", "512", "vbr"};
        EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, id)), WriteBack);
        EXPECT_THAT(sent(), ElementsAre(c.request, "setdata"));
        EXPECT_EQ(Text(record), c.accepted);
        SVornVidValsInDb reported = record;
        EXPECT_FALSE(camera->getVideoCodecParameters(id, reported));
        EXPECT_EQ(Text(reported), c.reported);

        EXPECT_FALSE(camera->syncVideoCodecProperties(record, id)); // nothing left to change
        EXPECT_THAT(sent(), IsEmpty());
        EXPECT_EQ(Text(record), c.accepted);
    }
}

TEST_F(Video, SynchronisationSetsUpTheTransmissionFirst) {
    const char* transmit = "set_h264?h264_transmit=1&f_priority=1";
    const char* deliver = "set_rtsp?h264_rtsp_mode=1&h264_rtsp_mode2=1&rtsp_port=554";
    start(Ranges, Keys("H264=0 H264SIZE=320"));
    SVornVidValsInDb record = {"25", "320x240", "", "", "", ""};
    EXPECT_FALSE(camera->syncVideoCodecProperties(record, {0, H264, 0}));
    EXPECT_THAT(sent(), ElementsAre(transmit, deliver)); // and nothing else, nor a reload
    record.resolution = "640x480";
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, {0, H264, 0})), WriteBack);
    EXPECT_THAT(sent(), ElementsAre(transmit, deliver,
                                    transmit + std::string("&nr_framerate=25&h264_resolution=640&h264_Ivop="),
                                    "setdata"));
    // A stream that is not set: what the set-up has changed is read.
    record.resolution = "640x480";
    start(Ranges, Keys("MPEG=2 RTSPMODE=1 RTSPPORT=554 MPEGSIZE=320"));
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, {0, Mpeg4, 2})), WriteBack);
    EXPECT_THAT(sent(), ElementsAre("set_mpeg?mpeg_transmit=1&f_priority=1", "setdata"));
}

TEST_F(Video, ASynchronisationThatFailsLeavesTheRecordAlone) {
    const SVornVidValsInDb given = {"25", "640x480", "40", "50", "512", "vbr"};
    SVornVidValsInDb record = given;
    const SVideoStreamId id{0, H264, 0};
    start(Ranges, Reported);
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, {0, Unknown, 0})), NoSettings);
    SVornVidValsInDb reported = given;
    EXPECT_EQ(Told(camera->getVideoCodecParameters({0, Unknown, 0}, reported)), NoSettings);
    EXPECT_EQ(Text(reported), "|||||");
    EXPECT_THAT(sent(), IsEmpty());
    accept(Reported, 500);
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, id)), "2 4 CGI request failed !!");
    EXPECT_EQ(sent().size(), 2u); // the request and the reload
    accept(Reported);
    stub.reply(Setdata, std::string()); // the camera stops after the write
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, id)), WriteBack);
    EXPECT_EQ(Text(record), Text(given));

    boost::shared_ptr<IDeviceContext> context = device;
    camera.emplace(context, stub.address().c_str(), models, ""); // not initialised
    EXPECT_EQ(Told(camera->syncVideoCodecProperties(record, id)), NoSettings);
    EXPECT_EQ(Told(camera->getVideoCodecParameters(id, reported)), NoSettings);
    EXPECT_EQ(Told(camera->setVideoCodecToCamera(0, 0, H264, record)), NoSettings);
    EXPECT_EQ(ask(&C::getVideoCodecResolutionRange, id), NotAccessible);
    EXPECT_EQ(camera->checkVideoCodecSetting(0, Mpeg4, "fps", "5").getCode(), 16); // no model number
    EXPECT_FALSE(camera->checkVideoCodecSetting(0, Mjpeg, "fps", "5"));
}

TEST_F(Video, SettersWriteTheRecordAndAnEncodersForEveryInput) {
    const struct {
        Setter set;
        const char* value;
    } setters[] = {{&C::setVideoCodecFrameRate, "5"},  {&C::setVideoCodecResolution, "1x1"},
                   {&C::setVideoCodecQuality, "50"},   {&C::setVideoCodecKeyFrameInterval, "7"},
                   {&C::setVideoCodecBitRate, "1024"}, {&C::setVideoCodecBitRateControl, "vbr"}};
    const char* outOfRange = "15 3 VideoCodecBitRate out of range";
    const std::pair<VideoCodec, const char*> copies[] = {
        {Mjpeg, "|||||"}, {Mpeg4, "5||50|7|1024|vbr"}, {H264, "5||50|7||vbr"}};
    for (const bool isEncoder : {false, true}) {
        device = boost::make_shared<CRecordedDevice>();
        start(Ranges, {}, isEncoder ? "GXE500B" : "GXE50");
        for (const auto& [codec, copied] : copies) {
            for (const auto& [set, value] : setters) {
                const bool isRefused = set == &C::setVideoCodecBitRate && codec != Mpeg4; // though written
                EXPECT_EQ(Told(((*camera).*set)(1, 1, codec, value)), isRefused ? outOfRange : "1 0 ");
                EXPECT_EQ(Told(((*camera).*set)(6, 1, codec, "6")), "15 0 the model has no video input 6");
            }
            EXPECT_EQ(Told(camera->setVideoCodecBitRate(1, 1, codec, "102")), outOfRange);
            for (int input = 0; input < 6; ++input)
                for (int stream = 0; stream < 3; ++stream) {
                    SVornVidValsInDb record;
                    EXPECT_FALSE(camera->readVideoStreamRecord({input, codec, stream}, record));
                    EXPECT_EQ(Text(record), input == 1 && stream == 1 ? "5|1x1|50|7|102|vbr"
                                            : isEncoder && stream < 2 ? copied
                                                                      : "|||||")
                        << isEncoder << copied << input << stream;
                }
        }
    }
}

} // namespace
} // namespace corvane::panasonic_camera
