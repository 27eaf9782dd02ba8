#include "tests/vornhost/vornhost_support.h"

#include <csignal>

namespace corvane::vornhost_test {
namespace {

#ifdef VORN_UNDER_TSAN
constexpr const char* Patience = "12"; // under which a busy machine may take that long for a picture
#else
constexpr const char* Patience = "3";
#endif

constexpr const char* Ample = "60"; // for what comes after all

// Which a busy machine encodes at their rate, with a sanitizer too.
const json SmallPictures = {{"H264SIZE", "320"}, {"H264NRFRAMERATE", "10"}};

using Words = std::vector<std::string>;
Words Record(const CCamsim& camsim, const std::string& file, const Words& more) {
    Words arguments = {"--json", "--rtsp-port", camsim.rtspPort(), "record", camsim.address()};
    arguments.insert(arguments.end(), {"--stream", "0,h264,0", "--output", file});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

// How many frames a decoder is given of a file, all of which it takes. On a busy machine the camera leaves
// parts of some away, of which it makes no picture.
int PlayedFrames(const std::string& file) {
    const std::string command =
        "gst-launch-1.0 -v filesrc location=" + file +
        " ! matroskademux ! h264parse ! identity silent=false ! avdec_h264 ! fakesink";
    FILE* const count = popen((command + " | grep -c 'last-message = chain'").c_str(), "r");
    char line[32] = "";
    (void)std::fgets(line, sizeof line, count);
    return pclose(count) == 0 ? std::stoi(line) : -1;
}

TEST(Record, TheFileHoldsEveryFrameThatIsTold) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--rtsp-port", "0"});
    const std::string record = "resolution=700x500;frameRate=9;keyFrameInterval=9"; // the camera rounds
    const json sync =
        json::parse(Vornhost({"--json", "sync", camsim.address(), "--stream", "0,h264,0", record}).out);
    EXPECT_EQ(sync.at("recordNow").at("frameRate"), 10);

    const SRun run =
        Vornhost(Record(camsim, folder.file("video.mkv"), {"--seconds", "2", "--timeout", Ample}));
    ASSERT_EQ(run.status, 0) << run.err;
    const json told = json::parse(run.out);
    EXPECT_EQ(told.at("resolution"), sync.at("recordNow").at("resolution"));
    EXPECT_EQ(told.at("seconds"), 2);
    EXPECT_EQ(told.at("frames"), 20);
    EXPECT_EQ(told.at("bytes"), std::filesystem::file_size(folder.file("video.mkv")));
    EXPECT_EQ(PlayedFrames(folder.file("video.mkv")), told.at("frames"));
}

// With a whole decoder behind it: MJPEG comes as pictures, H.264 must be decoded.
TEST(Record, ASnapshotIsOneWholePicture) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--rtsp-port", "0"});
    const std::string file = folder.file("picture.jpg");
    for (const auto& [stream, size] : {std::pair("0,h264,0", "1280x960"), {"0,mjpeg,0", "640x480"}}) {
        const SRun run = Vornhost({"--json", "--timeout", Ample, "--rtsp-port", camsim.rtspPort(), "record",
                                   camsim.address(), "--stream", stream, "--snapshot", file});
        ASSERT_EQ(run.status, 0) << run.err;
        const json told = json::parse(run.out);
        EXPECT_EQ(told.at("resolution"), size);
        EXPECT_EQ(told.at("bytes"), std::filesystem::file_size(file));
        const std::string decoded = "gst-launch-1.0 -q filesrc location=" + file +
                                    " ! jpegparse ! jpegdec ! video/x-raw,width=" +
                                    std::string(size).substr(0, std::string(size).find('x')) + " ! fakesink";
        EXPECT_EQ(std::system(decoded.c_str()), 0) << stream;
    }
    camsim.post("/faults", {{"path", "/MediaInput/*"}, {"kind", "silence"}});
    const SRun none = Vornhost({"--json", "--timeout", Patience, "--rtsp-port", camsim.rtspPort(), "record",
                                camsim.address(), "--stream", "0,h264,0", "--snapshot", file});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(json::parse(none.out).at("problem").at("cause"), "no-picture") << none.out;
}

// What the file holds, as "video/x-h264" and "audio/x-adpcm".
std::string DiscoveredStreams(const std::string& file) {
    const std::string command = "gst-launch-1.0 -v filesrc location=" + file +
                                " ! matroskademux name=d d.video_0 ! queue ! fakesink"
                                " d.audio_0 ! queue ! fakesink";
    FILE* const output = popen(command.c_str(), "r");
    std::string text;
    char line[512];
    while (std::fgets(line, sizeof line, output))
        text += line;
    pclose(output);
    return text;
}

TEST(Record, TheSoundGoesIntoTheSameFile) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--rtsp-port", "0"});
    camsim.patch("/cameras/0/settings", SmallPictures);
    camsim.patch("/cameras/0/settings", {{"AUDIO", "off"}}); // which the plug-in switches on
    const std::string file = folder.file("both.mkv");
    const SRun run = Vornhost(Record(camsim, file, {"--seconds", "2", "--audio", "--timeout", Ample}));
    ASSERT_EQ(run.status, 0) << run.err;
    const json told = json::parse(run.out);
    EXPECT_NEAR(told.at("seconds"), 2, 0.5);
    EXPECT_NEAR(told.at("audio").at("packets").get<double>(), 100, 30); // of 20 ms
    EXPECT_EQ(PlayedFrames(file), told.at("frames"));
    EXPECT_THAT(DiscoveredStreams(file),
                testing::AllOf(testing::HasSubstr("video/x-h264"), testing::HasSubstr("audio/x-adpcm")));
}

TEST(Record, WithoutTheSoundTheVideoIsRecordedAlone) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--model", "S202", "--rtsp-port", "0"});
    camsim.patch("/cameras/0/settings", SmallPictures);
    const std::string file = folder.file("video.mkv");
    const SRun run = Vornhost(Record(camsim, file, {"--seconds", "1", "--audio", "--timeout", Ample}));
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, testing::HasSubstr("Property not found"));
    EXPECT_EQ(json::parse(run.out).count("audio"), 0U);
    EXPECT_EQ(PlayedFrames(file), json::parse(run.out).at("frames"));
}

TEST(Record, SoundThatDoesNotComeEndsTheRecordingWithItsReason) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--model", "D870", "--rtsp-port", "0"});
    const auto withPath = [&](const char* path) {
        json models = json::parse(std::ifstream(MODELS_FILE));
        for (json& model : models["models"])
            if (model["number"] == "D870")
                model["audio"]["urls"]["0"]["H264"]["0"]["path"] = path;
        return folder.file("models.json", models.dump());
    };
    Words arguments = Record(camsim, folder.file("both.mkv"), {"--audio", "--timeout", Ample});
    arguments.insert(arguments.begin(), {"--models", withPath("nowhere")});
    const SRun lost = Vornhost(arguments);
    EXPECT_EQ(lost.status, 1);
    EXPECT_THAT(lost.err, testing::AllOf(testing::HasSubstr("the sound"), testing::HasSubstr("404"),
                                         testing::HasSubstr("asked     DESCRIBE rtsp://"),
                                         testing::HasSubstr("/nowhere\n")));
    withPath("MediaInput/jpeg");
    EXPECT_THAT(Vornhost(arguments).err, testing::HasSubstr("has no audio"));

    const CCamsim encoder({"--model", "GXE500", "--rtsp-port", "0"}); // whose sound has a place of its own
    for (const auto& [fault, timeout, reason] :
         {std::tuple(json{{"kind", "cut"}, {"ms", 500}}, "30", "connection closed"),
          {json{{"kind", "silence"}}, Patience, "no sound within"}}) {
        json atSound = fault;
        atSound["path"] = "/MediaInput/audio";
        encoder.post("/faults", atSound);
        const SRun run =
            Vornhost(Record(encoder, folder.file("lost.mkv"), {"--audio", "--timeout", timeout}));
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err, testing::AllOf(testing::HasSubstr("the sound"), testing::HasSubstr(reason),
                                            testing::HasSubstr("asked     PLAY rtsp://"),
                                            testing::HasSubstr("/MediaInput/audio")));
        encoder.erase("/faults");
    }
}

TEST(Record, ASignalEndsItWell) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--rtsp-port", "0"});
    camsim.patch("/cameras/0/settings", SmallPictures);
    const std::string file = folder.file("video.mkv", "something old");
    CProgram program("vornhost", Record(camsim, file, {}));
    ASSERT_TRUE(WaitUntil([&] { return std::filesystem::file_size(file) > 10000; })); // pictures come
    program.signal(SIGINT);
    const SRun run = program.wait();
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(PlayedFrames(file), json::parse(run.out).at("frames"));
}

TEST(Record, WithoutAPictureItTellsWhyAndKeepsTheFileThatWasThere) {
    const CTemporaryFolder folder;
    const CCamsim camsim({"--rtsp-port", "0"});
    const std::string file = folder.file("video.mkv", "something old");
    for (const auto& [kind, limit, asked, reason] :
         {std::tuple("refuse", "30", "asked     DESCRIBE rtsp://", "503"),
          std::tuple("silence", Patience, "asked     PLAY rtsp://", "no data within ")}) {
        camsim.post("/faults", {{"path", "/MediaInput/*"}, {"kind", kind}});
        const SRun run = Vornhost(Record(camsim, file, {"--timeout", limit}));
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.err, testing::AllOf(testing::HasSubstr(asked), testing::HasSubstr(reason)));
        camsim.erase("/faults");
    }
    EXPECT_EQ(folder.contents(), "something old");
}

} // namespace
} // namespace corvane::vornhost_test
