#include "site/site_file.h"
#include "site/text_file.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

namespace corvane::site {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

const SSiteVocabulary& Vocabulary() {
    static const SSiteVocabulary vocabulary{{"D850", "F320"},
                                            {"brightness", "whiteBalance"},
                                            [](const std::string& adjustment, const std::string& model,
                                               const std::string& value) -> std::optional<std::string> {
                                                if (adjustment == "brightness" && value == "101")
                                                    return "expected 0 to 100, at " +
                                                           (model.empty() ? "any" : model);
                                                return std::nullopt;
                                            }};
    return vocabulary;
}

constexpr const char* WholeFile = R"({
  "credentials": {"yard": {"user": "admin", "passwordFile": "yard.password"},
                  "hall": {"user": "viewer", "passwordFile": "/hall"}},
  "defaults": {"credentials": "yard", "model": "F320", "rtspPort": 8554, "inputs": [2],
               "adjustments": {"brightness": "50", "whiteBalance": "atw1"},
               "streams": [{"stream": "0,h264,0", "record": {"resolution": "1280x720", "frameRate": "15"}},
                           {"stream": "0,mjpeg,1", "record": {"quality": "3"}}]},
  "cameras": [
    {"name": "gate", "address": "127.0.0.1:8080", "model": "D850", "serialNumber": "D85000001",
     "credentials": "hall", "tags": ["outside", "night"], "rtspPort": 554, "inputs": [0, 1],
     "streams": [{"stream": "0,h264,0", "record": {"resolution": "640x360"}}],
     "adjustments": {"brightness": "60"},
     "ignore": [{"of": "adjustments.brightness", "reason": "night scene", "until": "2027-03-31"},
                {"of": "streams.0,h264,0.frameRate", "reason": "slow"}]},
    {"name": "hall.2_b-c", "address": "camera.example"}
  ]
})";

TEST(SiteFile, HoldsWhatItSaysWithItsDefaultsTakenIn) {
    const test_support::CTemporaryFolder folder;
    const SSite site = ReadSiteFile(folder.file("site.json", WholeFile), Vocabulary());
    EXPECT_EQ(site.credentials.at("yard").user, "admin");
    EXPECT_EQ(site.credentials.at("yard").passwordFile, folder.file("yard.password"));
    EXPECT_EQ(site.credentials.at("hall").passwordFile, "/hall");
    ASSERT_EQ(site.cameras.size(), 2U);

    const SSiteCamera& gate = site.cameras[0];
    EXPECT_EQ(gate.name + " " + gate.address + " " + gate.model + " " + gate.serialNumber,
              "gate 127.0.0.1:8080 D850 D85000001");
    EXPECT_EQ(gate.credentials, "hall");
    EXPECT_THAT(gate.tags, ElementsAre("outside", "night"));
    EXPECT_EQ(gate.rtspPort, 554);
    EXPECT_THAT(*gate.inputs, ElementsAre(0, 1));
    ASSERT_EQ(gate.streams.size(), 2U);
    EXPECT_EQ(gate.streams[0].name, "0,mjpeg,1");
    EXPECT_EQ(gate.streams[1].name, "0,h264,0"); // its own alone, and nothing of the default's
    EXPECT_THAT(gate.streams[1].record, ElementsAre(Pair("resolution", "640x360")));
    EXPECT_THAT(gate.adjustments, ElementsAre(Pair("brightness", "60"), Pair("whiteBalance", "atw1")));
    ASSERT_EQ(gate.ignored.size(), 2U);
    EXPECT_EQ(gate.ignored[0].of + " " + gate.ignored[0].until, "adjustments.brightness 2027-03-31");
    EXPECT_EQ(gate.ignored[1].until, "");

    const SSiteCamera& hall = site.cameras[1];
    EXPECT_EQ(hall.name + " " + hall.credentials + " " + hall.model, "hall.2_b-c yard F320");
    EXPECT_EQ(hall.rtspPort, 8554);
    EXPECT_THAT(*hall.inputs, ElementsAre(2));
    ASSERT_EQ(hall.streams.size(), 2U);
    EXPECT_THAT(hall.streams[0].record, ElementsAre(Pair("frameRate", "15"), Pair("resolution", "1280x720")));
    EXPECT_THAT(hall.ignored, IsEmpty());
}

// A part of the whole file, what stands in its place, and what is said of that.
struct SMistake {
    const char* part;
    const char* wrong;
    const char* said;
};

const SMistake Mistakes[] = {
    {"\"name\": \"gate\"", "\"name\": \"gate\",,",
     "line 9, column 21: syntax error while parsing object key - unexpected ','; expected string literal"},
    {"\"tags\"", "\"tag\"",
     "line 10, column 29: cameras[0].tag: unknown member; expected one of name, address, serialNumber, tags, "
     "ignore, credentials, model, streams, adjustments, inputs, rtspPort; did you mean tags?"},
    {"\"user\": \"admin\", ", "", "line 2, column 19: credentials.yard: missing member \"user\""},
    {"\"user\": \"admin\"", "\"user\": \"\"",
     "line 2, column 28: credentials.yard.user: expected a text that is not empty"},
    {"\"yard.password\"", "7", "line 2, column 45: credentials.yard.passwordFile: expected a text"},
    {"\"credentials\": \"hall\"", "\"credentials\": \"hal\"",
     "line 10, column 6: cameras[0].credentials: there are no credentials \"hal\"; expected one of hall, "
     "yard; "
     "did you mean hall?"},
    {"\"credentials\": \"yard\"", "\"credentials\": \"yrd\"",
     "line 4, column 16: defaults.credentials: there are no credentials \"yrd\"; expected one of hall, yard; "
     "did you mean yard?"},
    {"\"model\": \"D850\"", "\"model\": \"D855\"",
     "line 9, column 51: cameras[0].model: there is no such model; expected one of D850, F320; did you mean "
     "D850?"},
    {"\"127.0.0.1:8080\"", "\"127.0.0.1:99999\"",
     "line 9, column 22: cameras[0].address: expected an address: HOST or HOST:PORT"},
    {"hall.2_b-c", "gate", "line 15, column 6: cameras[1].name: another camera has the name \"gate\""},
    {"hall.2_b-c", "the hall",
     "line 15, column 6: cameras[1].name: expected a name of letters, digits, \".\", \"_\" and \"-\", at "
     "most 64"},
    {"\"name\": \"hall.2_b-c\", ", "", "line 15, column 5: cameras[1]: missing member \"name\""},
    {"\"stream\": \"0,h264,0\"", "\"stream\": \"0,h265,0\"",
     "line 6, column 29: defaults.streams[0].stream: expected CHANNEL,CODEC,STREAM: two numbers, and between "
     "them a codec by number, mjpeg, mpeg4 or h264"},
    {"\"stream\": \"0,h264,0\"", "\"stream\": \"0,9,0\"",
     "line 6, column 29: defaults.streams[0].stream: expected CHANNEL,CODEC,STREAM with the codec mjpeg, "
     "mpeg4 "
     "or h264 (0, 1 or 2)"},
    {"streams.0,h264,0.frameRate", "streams.0,9,0.frameRate",
     "line 14, column 18: cameras[0].ignore[1].of: expected CHANNEL,CODEC,STREAM with the codec mjpeg, mpeg4 "
     "or "
     "h264 (0, 1 or 2)"},
    {"0,mjpeg,1", "0,h264,0", "line 7, column 28: defaults.streams[1]: the stream \"0,h264,0\" stands twice"},
    {"\"resolution\": \"640x360\"", "\"resolutoin\": \"640x360\"",
     "line 11, column 52: cameras[0].streams[0].record.resolutoin: a record has no field \"resolutoin\"; "
     "expected "
     "one of frameRate, resolution, quality, keyFrameInterval, bitRate, bitRateControl; did you mean "
     "resolution?"},
    {"\"640x360\"", "640", "line 11, column 52: cameras[0].streams[0].record.resolution: expected a text"},
    {"{\"brightness\": \"60\"}", "{\"brightnes\": \"60\"}",
     "line 12, column 22: cameras[0].adjustments.brightnes: there is no adjustment \"brightnes\"; expected "
     "one of "
     "brightness, whiteBalance; did you mean brightness?"},
    {"{\"brightness\": \"60\"}", "{\"brightness\": \"101\"}",
     "line 12, column 22: cameras[0].adjustments.brightness: expected 0 to 100, at D850"},
    {"[0, 1]", "[0, 0]", "line 10, column 90: cameras[0].inputs[1]: the input stands twice"},
    {"[0, 1]", "[-1]", "line 10, column 87: cameras[0].inputs[0]: expected an integer from 0 to 255"},
    {"8554", "65536", "line 4, column 56: defaults.rtspPort: expected an integer from 1 to 65535"},
    {"2027-03-31", "2027-02-31",
     "line 13, column 75: cameras[0].ignore[0].until: expected a day, as in \"2027-03-31\""},
    {"\"of\": \"adjustments.brightness\"", "\"of\": \"brightness\"",
     "line 13, column 18: cameras[0].ignore[0].of: expected \"adjustments.NAME\" or "
     "\"streams.CHANNEL,CODEC,STREAM.FIELD\""},
    {"streams.0,h264,0.frameRate", "streams.0,h264,0.rate",
     "line 14, column 18: cameras[0].ignore[1].of: a record has no field \"rate\"; expected one of "
     "frameRate, "
     "resolution, quality, keyFrameInterval, bitRate, bitRateControl"},
    {"\"reason\": \"slow\"", "\"reason\": \"slow\", \"reason\": \"twice\"",
     "line 14, column 72: cameras[0].ignore[1].reason: this member stands twice"},
    {"0,h264,0", "0,h264,2",
     "line 6, column 29: defaults.streams[0].stream: expected a channel from 0 on, and the stream 0 or 1"},
    {"\"cameras\"", "\"camera\"",
     "line 8, column 3: camera: unknown member; expected one of credentials, defaults, cameras; did you mean "
     "cameras?"},
};

TEST(SiteFile, EachMistakeIsToldWithItsPlaceAndReason) {
    for (const SMistake& mistake : Mistakes) {
        std::string text = WholeFile;
        const std::size_t place = text.find(mistake.part);
        ASSERT_NE(place, std::string::npos) << mistake.part;
        text.replace(place, std::string(mistake.part).size(), mistake.wrong);
        const test_support::CTemporaryFolder folder;
        const std::string file = folder.file("site.json", text);
        try {
            (void)ReadSiteFile(file, Vocabulary());
            ADD_FAILURE() << "taken: " << mistake.wrong;
        } catch (const CFileError& error) {
            EXPECT_EQ(std::string(error.what()), file + ": " + mistake.said);
        }
    }
}

TEST(SiteFile, ThatCannotBeReadIsRefused) {
    const test_support::CTemporaryFolder folder;
    const auto refusal = [](const std::string& file) -> std::string {
        try {
            (void)ReadSiteFile(file, Vocabulary());
        } catch (const CFileError& error) {
            return error.what();
        }
        return "";
    };
    const std::string absent = folder.file("absent");
    EXPECT_EQ(refusal(absent), absent + ": cannot be read: No such file or directory");
    EXPECT_THAT(refusal(folder.file("")), HasSubstr(": cannot be read: Is a directory"));
    EXPECT_THAT(refusal(folder.file("empty", "")), HasSubstr("line 1, column 1: "));
}

} // namespace
} // namespace corvane::site
