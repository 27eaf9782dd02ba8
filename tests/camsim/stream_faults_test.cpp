// Faults of streams and sound, on the wire.

#include "model/fault_names.h"
#include "raw_connection.h"
#include "tests/support/camsim_process.h"

#include <gmock/gmock.h>
#include <map>
#include <set>

namespace {

using namespace camsim;
using camsim_test::CRawConnection;
using corvane::test_support::CCamsim;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// Not the usual RTSP port, which other tests' clients ask for a camera of theirs.
const std::vector<std::string> OwnPort{"--model", "D850", "--auth", "none", "--rtsp-port", "0"};

constexpr std::chrono::milliseconds Quiet{1000}; // for so long no stream that plays says nothing

// A viewer of a stream through the RTSP connection itself: one that takes a picture and its sound.
class CViewer {
public:
    CViewer(const CCamsim& camsim, std::string path)
        : connection_(camsim.rtspAddress()), url_("rtsp://" + camsim.rtspAddress() + std::move(path)) {}

    // The response, its body included.
    std::string ask(const std::string& method, const std::string& below = "",
                    const std::string& header = "") {
        connection_.send(method + " " + url_ + below + " RTSP/1.0\r\nCSeq: " + std::to_string(++number_) +
                         "\r\n" + session_ + header + "\r\n");
        std::string response = connection_.receive("\r\n\r\n");
        if (method == "DESCRIBE" && isGood(response) && response.find("m=") == response.npos)
            response += connection_.receive("m=");
        return response;
    }
    static bool isGood(const std::string& response) { return response.rfind("RTSP/1.0 200", 0) == 0; }

    std::string setUp(int stream) {
        const std::string channels = std::to_string(2 * stream) + "-" + std::to_string(2 * stream + 1);
        const std::string response = ask("SETUP", "/stream=" + std::to_string(stream),
                                         "Transport: RTP/AVP/TCP;unicast;interleaved=" + channels + "\r\n");
        const size_t at = response.find("Session: ");
        if (at != response.npos)
            session_ = response.substr(at, response.find_first_of(";\r", at) - at) + "\r\n";
        return response;
    }

    // The first response that refuses, or the last when none does.
    std::string play(const std::vector<int>& streams) {
        std::string response = ask("OPTIONS");
        if (isGood(response))
            response = ask("DESCRIBE", "", "Accept: application/sdp\r\n");
        for (const int stream : streams)
            if (isGood(response))
                response = setUp(stream);
        return isGood(response) ? ask("PLAY") : response;
    }

    CRawConnection& connection() { return connection_; }

private:
    CRawConnection connection_;
    const std::string url_;
    std::string session_;
    int number_ = 0;
};

// How many packets of data came for each stream; what is not whole yet does not count.
std::map<int, int> PacketsIn(const std::string& bytes) {
    std::map<int, int> packets;
    for (size_t at = bytes.find('$'); at + 4 <= bytes.size() && bytes[at] == '$';) {
        const int channel = bytes[at + 1];
        const size_t size =
            static_cast<unsigned char>(bytes[at + 2]) * 256U + static_cast<unsigned char>(bytes[at + 3]);
        at += 4 + size;
        if (channel % 2 == 0 && at <= bytes.size())
            ++packets[channel / 2];
    }
    return packets;
}

const std::string Picture = "/MediaInput/h264";
const std::string Sound = "/MediaInput/audio";

// The lines that tell how a stream is encoded.
std::string Encoding(const CCamsim& camsim) {
    CViewer viewer(camsim, Picture);
    const std::string description = viewer.ask("DESCRIBE", "", "Accept: application/sdp\r\n") +
                                    viewer.connection().receiveUntilQuiet(Quiet);
    EXPECT_THAT(description, StartsWith("RTSP/1.0 200"));
    std::string lines;
    for (const char* begin : {"a=rtpmap:", "a=fmtp:", "a=framerate:"})
        if (const size_t at = description.find(begin); at != description.npos)
            lines += description.substr(at, description.find('\r', at) - at) + "\n";
    return lines;
}

TEST(FaultsOfStreams, RefuseWhatTheRowsSay) {
    const CCamsim camsim(OwnPort);
    const std::map<std::string, std::string> expected{{"stream-transmission-off", "503"},
                                                      {"stream-delivery-off", "503"},
                                                      {"describe-refused", "503"},
                                                      {"describe-not-found", "404"},
                                                      {"describe-forbidden", "403"},
                                                      {"describe-wrong-password", "401"},
                                                      {"describe-redirect", "302"},
                                                      {"setup-refused", "461"},
                                                      {"play-refused", "454"}};
    for (const auto& [name, status] : expected) {
        SCOPED_TRACE(name);
        camsim.post("/faults", {{"name", name}});
        EXPECT_THAT(CViewer(camsim, Picture).play({0}), StartsWith("RTSP/1.0 " + status));
        camsim.erase("/faults");
        EXPECT_THAT(CViewer(camsim, Picture).play({0}), StartsWith("RTSP/1.0 200"));
    }
    camsim.post("/faults", {{"name", "audio-refused"}});
    EXPECT_THAT(CViewer(camsim, Picture).play({0, 1}), StartsWith("RTSP/1.0 461"));
    EXPECT_THAT(CViewer(camsim, Picture).play({0}), StartsWith("RTSP/1.0 200"));
    camsim.post("/faults", {{"name", "audio-off"}});
    EXPECT_THAT(CViewer(camsim, Sound).play({0}), StartsWith("RTSP/1.0 503"));
    camsim.erase("/faults");
    camsim.post("/faults", {{"path", Picture}, {"kind", "refuse"}, {"status", 551}, {"method", "OPTIONS"}});
    EXPECT_THAT(CViewer(camsim, Picture).play({0}), StartsWith("RTSP/1.0 551"));
    EXPECT_THAT(CViewer(camsim, Sound).play({0}), StartsWith("RTSP/1.0 200"));
}

TEST(FaultsOfStreams, TellWhereARedirectGoesAndWhatIsWanted) {
    const CCamsim camsim({"--auth", "none", "--rtsp-port", "0"});
    camsim.post("/faults", {{"name", "describe-redirect"}});
    EXPECT_THAT(CViewer(camsim, Picture).play({0}), HasSubstr("Location: rtsp://portal.invalid/stream\r\n"));
    camsim.erase("/faults");
    camsim.post("/faults", {{"name", "describe-wrong-password"}});
    CViewer viewer(camsim, Picture);
    EXPECT_THAT(viewer.play({0}), HasSubstr("WWW-Authenticate: Digest realm="));
    camsim.erase("/faults");
    EXPECT_THAT(viewer.ask("OPTIONS"), Not(HasSubstr("WWW-Authenticate"))); // is said once
}

TEST(FaultsOfStreams, BringNoDataOrStopBringingIt) {
    const CCamsim camsim(OwnPort);
    const auto packets = [&](const char* name, const std::string& path, const std::vector<int>& streams) {
        camsim.post("/faults", {{"name", name}});
        CViewer viewer(camsim, path);
        EXPECT_TRUE(CViewer::isGood(viewer.play(streams))) << name;
        const std::string bytes = viewer.connection().receiveUntilQuiet(Quiet);
        camsim.erase("/faults");
        return PacketsIn(bytes);
    };
    EXPECT_THAT(packets("stream-silent", Picture, {0, 1}), testing::IsEmpty());
    const auto frozen = packets("stream-frozen", Picture, {0, 1});
    EXPECT_GT(frozen.count(0), 0U);
    EXPECT_GT(frozen.count(1), 0U);
    EXPECT_THAT(packets("audio-silent", Sound, {0}), testing::IsEmpty());
    EXPECT_GT(packets("stream-lost", Picture, {0})[0], 0); // ends the connection by itself
    EXPECT_GT(packets("audio-stops", Sound, {0})[0], 0);
}

TEST(FaultsOfStreams, SilenceTheSoundAlone) {
    const CCamsim camsim(OwnPort);
    const auto soundOf = [&](const char* path) {
        camsim.post("/faults", {{"path", path}, {"kind", "silence"}, {"media", "audio"}});
        CViewer viewer(camsim, Picture);
        const std::string response = viewer.play({0, 1});
        std::string bytes = response.substr(response.find("\r\n\r\n") + 4);
        while (PacketsIn(bytes)[0] < 300) // as long as it takes the sound to have a few dozen
            bytes += viewer.connection().receive("$");
        camsim.erase("/faults");
        return PacketsIn(bytes)[1];
    };
    EXPECT_EQ(soundOf("/MediaInput/*"), 0);
    EXPECT_GT(soundOf("/MediaInput/mpeg4"), 0); // hits another stream
}

TEST(FaultsOfStreams, EncodeThemOtherwiseThanTheSettingsSay) {
    const CCamsim camsim(OwnPort);
    const std::string sound = Encoding(camsim);
    ASSERT_THAT(sound, HasSubstr("H264/90000"));
    ASSERT_THAT(sound, HasSubstr("a=framerate:30"));
    const auto with = [&](const json& fault) {
        camsim.post("/faults", fault);
        const std::string encoding = Encoding(camsim);
        camsim.erase("/faults");
        return encoding;
    };
    EXPECT_THAT(with({{"name", "stream-other-codec"}}), HasSubstr("MP4V-ES/90000"));
    EXPECT_THAT(with({{"name", "stream-other-rate"}}), HasSubstr("a=framerate:1\n"));
    // The size is told by the parameter sets alone.
    const json size{{"path", Picture}, {"kind", "encode"}};
    json narrow = size;
    narrow["width"] = 160;
    json low = size;
    low["height"] = 120;
    const std::set<std::string> encodings{sound, with(narrow), with(low),
                                          with({{"name", "stream-other-resolution"}})};
    EXPECT_EQ(encodings.size(), 4U) << testing::PrintToString(encodings);
    EXPECT_EQ(Encoding(camsim), sound);
}

// A timer of a viewer that has gone used to end one that came later, or the program.
TEST(Streams, OutliveViewersThatGoWithoutAWord) {
    std::vector<std::string> options = OwnPort;
    options.insert(options.end(), {"--fault", "/MediaInput/h264 refuse every=2"});
    const CCamsim camsim(options);
    for (int i = 0; i < 60; ++i) {
        ASSERT_THAT(CViewer(camsim, Picture).play({0}), StartsWith("RTSP/1.0 200")) << i;
        ASSERT_THAT(CViewer(camsim, Picture).play({0}), StartsWith("RTSP/1.0 503")) << i;
    }
}

TEST(FaultsOfStreams, GoWithTheRequestsThatTheyCanGoWith) {
    const CCamsim camsim({"--no-rtsp"});
    for (const json& bad : {json{{"kind", "silence"}, {"method", "PLAY"}},
                            {{"kind", "refuse"}, {"method", "PAUSE"}},
                            {{"kind", "refuse"}, {"status", 299}},
                            {{"kind", "silence"}, {"media", "video"}},
                            {{"kind", "encode"}},
                            {{"kind", "encode"}, {"codec", "h265"}},
                            {{"kind", "encode"}, {"width", 161}},
                            {{"kind", "encode"}, {"height", 14}},
                            {{"kind", "encode"}, {"rate", 0}}}) {
        json fault = bad;
        fault["path"] = "/MediaInput/*";
        EXPECT_THROW(camsim.post("/faults", fault), std::runtime_error) << bad;
    }
}

} // namespace
