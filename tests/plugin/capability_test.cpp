#include "camera/capability.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <sstream>

namespace corvane::panasonic_camera {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Texts = std::vector<std::string>;
using C = CPanasonicCapability;

constexpr VideoCodec Mjpeg = VideoCodec::Mjpeg;
constexpr VideoCodec Mpeg4 = VideoCodec::Mpeg4;
constexpr VideoCodec H264 = VideoCodec::H264;
constexpr VideoCodec UnknownCodec = static_cast<VideoCodec>(7);

std::string Lines(std::initializer_list<const char*> lines) {
    std::string text;
    for (const char* line : lines)
        text.append("video_server.").append(line).append("\r\n");
    return text;
}

TEST(Capability, ListsComeFromTheKeyOfTheCodecAndTheStream) {
    // Every value names its own key, so that a query of another key shows.
    const C capability(Lines({"image.mode=mode,4_3",
                              "image.mjpeg.resolution=1x1",
                              "image.mpeg4.resolution=2x1",
                              "image.mpeg4-2.resolution=3x1",
                              "image.h264.resolution=4x1",
                              "image.h264-2.resolution=5x1",
                              "image.mjpeg.resolution_each_mode.1_3m=6x1",
                              "image.h264-2.resolution_each_mode.1_3m=7x1",
                              "image.mjpeg-2.resolution_each_mode.1_3m=8x1",
                              "image.mjpeg.framerate=mj-f",
                              "image.mjpeg-2.framerate=no",
                              "image.mpeg4.framerate=m4-f",
                              "image.mpeg4-2.framerate=m42-f",
                              "image.h264.framerate=h-f,h-g",
                              "image.h264-2.framerate=h2-f",
                              "image.mjpeg.max_framerate.1_3m=mj-m",
                              "image.mpeg4.max_framerate.1_3m=m4-m",
                              "image.mpeg4-2.max_framerate.1_3m=m42-m",
                              "image.h264.max_framerate.1_3m=h-m",
                              "image.h264-2.max_framerate.1_3m=h2-m",
                              "image.h264.max_framerate.=no",
                              "image.mjpeg.i_interval=no",
                              "image.mpeg4.i_interval=m4-i",
                              "image.mpeg4-2.i_interval=m42-i",
                              "image.h264.i_interval=h-i",
                              "image.h264-2.i_interval=h2-i",
                              "image.mjpeg.quality=mj-q",
                              "image.mpeg4.quality=m4-q",
                              "image.h264.quality=h-q",
                              "image.mpeg4-2.quality=no",
                              "image.h264-2.quality=no",
                              "image.mjpeg.bandwidth=no",
                              "image.mpeg4-2.bandwidth=no",
                              "image.h264-2.bandwidth=no",
                              "image.mpeg4.bandwidth=m4-b",
                              "image.h264.bandwidth=h-b"}));
    struct {
        VideoCodec codec;
        int stream;
        Texts resolution, resolutionOfMode, frameRate, interval, quality, bandwidth;
        const char* maxFrameRate;
    } const cases[] = {
        {Mjpeg, 0, {"1x1"}, {"6x1"}, {"mj-f"}, {}, {"mj-q"}, {}, "mj-m"},
        {Mjpeg, 1, {"1x1"}, {"6x1"}, {"mj-f"}, {}, {"mj-q"}, {}, "mj-m"},
        {Mpeg4, 0, {"2x1"}, {"2x1"}, {"m4-f"}, {"m4-i"}, {"m4-q"}, {"m4-b"}, "m4-m"},
        {Mpeg4, -1, {"3x1"}, {"3x1"}, {"m42-f"}, {"m42-i"}, {"m4-q"}, {"m4-b"}, "m42-m"},
        {H264, 0, {"4x1"}, {"4x1"}, {"h-f", "h-g"}, {"h-i"}, {"h-q"}, {"h-b"}, "h-m"},
        {H264, 2, {"5x1"}, {"7x1"}, {"h2-f"}, {"h2-i"}, {"h-q"}, {"h-b"}, "h2-m"},
        {UnknownCodec, 0, {}, {}, {}, {}, {}, {}, "30"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("codec " + std::to_string(static_cast<int>(c.codec)) + ", stream " +
                     std::to_string(c.stream));
        EXPECT_EQ(capability.getResolutionForCodec("", c.codec, c.stream), c.resolution);
        EXPECT_EQ(capability.getResolutionForCodec("1_3m", c.codec, c.stream), c.resolutionOfMode);
        EXPECT_EQ(capability.getVideoCodecFrameRate(c.codec, c.stream), c.frameRate);
        EXPECT_EQ(capability.getVideoCodecIInterval(c.codec, c.stream), c.interval);
        EXPECT_EQ(capability.getVideoCodecQuality(c.codec), c.quality);
        EXPECT_EQ(capability.getVideoCodecBandwidth(c.codec), c.bandwidth);
        EXPECT_EQ(capability.getMaxFrameRate(c.codec, c.stream, "1_3m"), c.maxFrameRate);
        EXPECT_EQ(capability.getMaxFrameRate(c.codec, c.stream, ""), "30");
        EXPECT_EQ(capability.getMaxFrameRate(c.codec, c.stream, "4_3"), "30");
    }
    EXPECT_THAT(capability.getImageMode(), ElementsAre("mode", "4_3"));
}

// The first occurrence counts, wherever it stands, and however much else the text holds.
TEST(Capability, AKeyIsFoundWhateverStandsAroundIt) {
    const std::string key = "video_server.image.mode=";
    const std::string longName(200, 'm');
    std::string many;
    for (int i = 0; i < 20'000; ++i)
        many += "video_server.k" + std::to_string(i) + "=\r\n";
    for (const std::string& before :
         {std::string(), std::string("noise video_server."), std::string("video_server.no sign\r\n"),
          "video_server." + longName + "=1\r\n", many})
        EXPECT_THAT(C(before + key + "a,b\r\n" + key + "c\r\n").getImageMode(), ElementsAre("a", "b"))
            << before.substr(0, 40);
    for (const std::string& mode : {longName, std::string("odd=name")})
        EXPECT_EQ(C("video_server.image.h264.max_framerate." + mode + "=12\r\n")
                      .getMaxFrameRate(VideoCodec::H264, 0, mode),
                  "12");
    EXPECT_TRUE(C(many).getImageMode().empty());
}

TEST(Capability, ResolutionsAreSortedByWidthAlone) {
    struct {
        const char* value;
        Texts sorted;
    } const cases[] = {
        {"640x360,1920x1080,320x180,1280x720", {"320x180", "640x360", "1280x720", "1920x1080"}},
        {"1280x960,1280x720,320x240", {"320x240", "1280x960", "1280x720"}},
        {"640x480,1x1,VGA,0x1", {"VGA", "0x1", "1x1", "640x480"}},
        {"99x1, 100x1,9junkx1,-5x1,ax2", {"ax2", "9junkx1", "99x1", " 100x1", "-5x1"}},
        {"5x1,99999999999x1,4294967294x1,-99999999999x1",
         {"5x1", "4294967294x1", "99999999999x1", "-99999999999x1"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(C(std::string("video_server.image.h264.resolution=") + c.value)
                      .getResolutionForCodec("", H264, 0),
                  c.sorted);
    Texts equal; // more than a sort of few entries keeps in order by chance
    std::string value = "9x0";
    for (int i = 0; i < 40; ++i)
        value += "," + equal.emplace_back("640x" + std::to_string(i));
    equal.insert(equal.begin(), "9x0");
    EXPECT_EQ(C("video_server.image.h264.resolution=" + value).getResolutionForCodec("", H264, 0), equal);
}

TEST(Capability, ValuesStandAtTheFirstOccurrenceAndAreNeverTrimmed) {
    struct {
        std::string text;
        Texts modes;
    } const cases[] = {
        {"", {}},
        {"video_server.image.mode", {}},
        {"video_server.image.mode=", {""}},
        {"video_server.image.mode=\r\n", {""}},
        {"video_server.image.mode=, a ,,b,\r\nc", {"", " a ", "", "b", ""}},
        {"video_server.image.mode=a\nb\rc", {"a\nb\rc"}},
        {"xvideo_server.image.mode=first\r\nvideo_server.image.mode=second\r\n", {"first"}},
        {std::string("video_server.image.mode=a\0b\r\n", 29), {std::string("a\0b", 3)}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(C(c.text).getImageMode(), c.modes);
        EXPECT_EQ(C(c.text).IsImageModeSupported(), !c.modes.empty() && c.modes != Texts{""});
    }
    EXPECT_TRUE(C(Lines({"basic.analogue_input=0"})).IsAnalogInputSupported());
    EXPECT_FALSE(C(Lines({"basic.analogue_input=", "x"})).IsAnalogInputSupported());
    EXPECT_FALSE(C("").IsAnalogInputSupported());
    EXPECT_EQ(C(Lines({"image.format=h264,mjpeg"})).getVideoCodecsSupported(), 5);
    EXPECT_EQ(C(Lines({"image.format=H264,mpeg4, mjpeg,jpeg2000,mpeg4"})).getVideoCodecsSupported(), 2);
    EXPECT_EQ(C("").getVideoCodecsSupported(), 0);
}

TEST(Capability, NumbersAreReadAsAStreamReadsThem) {
    for (const char* value : {"3", " \t\v3", "+3", "3x", "3 4", "010", "-3", "+-3", "-+3", "+", "-", "", "x3",
                              "0x10", "2147483647", "2147483648", "-2147483649", "99999999999999999999"}) {
        int expected = 0;
        std::istringstream(value) >> expected;
        const C capability(std::string("video_server.peripheral.io.number=") + value + "\r\n");
        EXPECT_EQ(capability.getDryContactInputCount(), expected) << '"' << value << '"';
    }
    const C oneInput(Lines({"audio.audio_input.number=1"}));
    EXPECT_TRUE(oneInput.IsAudioSupported(0));
    EXPECT_TRUE(oneInput.IsAudioSupported(-1));
    EXPECT_FALSE(oneInput.IsAudioSupported(1));
    EXPECT_FALSE(C(Lines({"audio.audio_input.number=-1"})).IsAudioSupported(-2));
    EXPECT_FALSE(C("").IsAudioSupported(-1));
}

// The rule for alarm inputs as it reads, a search for each terminal.
bool PlainDryContactRule(const std::string& text, int& count) {
    const auto value = [&](const std::string& key, std::string& found) {
        const std::size_t at = text.find(key);
        if (at == std::string::npos)
            return false;
        found = text.substr(at + key.size(), text.find("\r\n", at + key.size()) - at - key.size());
        return true;
    };
    std::string found;
    if (!value("video_server.peripheral.io.number=", found))
        return false;
    int terminals = 0;
    std::istringstream(found) >> terminals;
    int inputs = 0;
    for (int i = 1; i <= terminals; ++i) {
        if (!value("video_server.peripheral.io.trm" + std::to_string(i) + "=", found))
            return true;
        if (found.find("alm_in") != std::string::npos)
            ++inputs;
    }
    count = inputs;
    return inputs != 0;
}

TEST(Capability, AlarmInputsAreCountedByThePlainRule) {
    static constexpr const char* Pieces[] = {"video_server.peripheral.io.number=",
                                             "video_server.peripheral.io.trm",
                                             "1",
                                             "2",
                                             "3",
                                             "0",
                                             "=",
                                             "=",
                                             "alm_in",
                                             "alm_out",
                                             "\r\n",
                                             "\r\n",
                                             "\r",
                                             "alm_",
                                             "in",
                                             "x"};
    std::minstd_rand random(1);
    int complete = 0;
    for (int i = 0; i < 20'000; ++i) {
        std::string text = "video_server.peripheral.io.number=2\r\n";
        for (unsigned n = random() % 30; n > 0; --n) {
            const unsigned pick = random() % 4;
            text += pick == 0   ? "video_server.peripheral.io.trm1="
                    : pick == 1 ? "video_server.peripheral.io.trm2="
                                : Pieces[random() % std::size(Pieces)];
        }
        int count = -1;
        int expected = -1;
        ASSERT_EQ(C(text).IsDryContactSupported(count), PlainDryContactRule(text, expected)) << text;
        ASSERT_EQ(count, expected) << text;
        complete += count >= 0;
    }
    EXPECT_GT(complete, 1'000);

    int count = 7;
    EXPECT_TRUE(
        C(Lines({"peripheral.io.number=2", "peripheral.io.trm1=alm_in"})).IsDryContactSupported(count));
    EXPECT_EQ(count, 7);
    EXPECT_FALSE(C(Lines({"peripheral.io.number=junk"})).IsDryContactSupported(count));
    EXPECT_EQ(count, 0);
}

// A search that begins anew for each terminal would not end within the test's time limit.
TEST(Capability, HostileTextsAreAnswered) {
#ifdef VORN_UNDER_TSAN
    constexpr int Terminals = 5'000; // its memmem reads the whole text at each call
#else
    constexpr int Terminals = 400'000;
#endif
    std::string manyTerminals = Lines({"peripheral.io.number=2147483647"});
    for (int i = 1; i <= Terminals; ++i)
        manyTerminals += "video_server.peripheral.io.trm" + std::to_string(i) + "=x";
    std::string prefixes;
    while (prefixes.size() < 4'000'000)
        prefixes += "video_server.image.h264.resolution_each_mode.";
    int count = -1;
    EXPECT_TRUE(C(manyTerminals).IsDryContactSupported(count));
    EXPECT_EQ(count, -1);
    EXPECT_THAT(C(prefixes).getResolutionForCodec(prefixes, H264, 0), IsEmpty());
    EXPECT_EQ(C("video_server.image.mode=" + std::string(1'000'000, ',')).getImageMode().size(), 1'000'001u);
}

} // namespace
} // namespace corvane::panasonic_camera
