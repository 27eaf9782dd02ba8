#include "operations/operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace corvane::tests {
namespace {

using namespace device_handler::v1_0;
using handler_impl::SVideoStreamId;
using testing::ElementsAre;
using testing::IsEmpty;

class COperations : public testing::Test {
protected:
    COperations() {
        registry_.add("echo", {"channel", "text"},
                      boost::function<CError(int, const std::string&, std::vector<CString>&)>(
                          [this](int channel, const std::string& text, std::vector<CString>& out) {
                              ++calls_;
                              out = {CString(std::to_string(channel)), CString(text)};
                              return CError::Success();
                          }));
        registry_.add(
            "later", {"codec"},
            boost::function<CAsyncOp(VideoCodec, const CCallback&)>([](VideoCodec, const CCallback& done) {
                Call(done, CError(RtnCode::OperationFailed, Origin::Handler, "no"), {CString("x")});
                return CAsyncOp();
            }));
        registry_.add("move", {"pan"}, boost::function<bool(int)>([](int) { return true; }));
        registry_.add("move", {"names"},
                      boost::function<std::string(const STextList&)>(
                          [](const STextList& list) { return std::to_string(list.texts.size()); }));
        registry_.add("move", {"pan", "tilt"}, boost::function<void(int, int)>([](int, int) {}));
        registry_.add("streamOf", {"stream"},
                      boost::function<std::string(SVideoStreamId&)>([](SVideoStreamId& id) {
                          return std::to_string(id.channel) + "," +
                                 std::to_string(static_cast<int>(id.codec)) + "," + std::to_string(id.stream);
                      }));
    }

    SAnswer call(const std::string& name, const std::vector<std::string>& arguments) {
        SAnswer answer;
        int answers = 0;
        registry_.call(name, arguments, [&](const SAnswer& given) {
            answer = given;
            ++answers;
        });
        EXPECT_EQ(answers, 1);
        return answer;
    }

    std::string refusal(const std::string& name, const std::vector<std::string>& arguments) {
        try {
            registry_.call(name, arguments, [](const SAnswer&) { ADD_FAILURE() << "answered"; });
        } catch (const COperationError& error) {
            return error.what();
        }
        return "not refused";
    }

    COperationRegistry registry_;
    int calls_ = 0;
};

TEST_F(COperations, AnswerWithWhatTheyReturnAndPutOut) {
    const SAnswer echoed = call("echo", {"-7", "a,b"});
    EXPECT_EQ(echoed.error->getCode(), 1);
    EXPECT_THAT(echoed.values, ElementsAre("-7", "a,b"));
    const SAnswer late = call("later", {"h264"});
    EXPECT_EQ(late.error->getText(), "no");
    EXPECT_THAT(late.values, ElementsAre("x"));
}

TEST_F(COperations, OfOneNameAreChosenByNumberAndFormOfTheArguments) {
    EXPECT_TRUE(std::get<bool>(call("move", {"1"}).result));
    EXPECT_EQ(std::get<std::string>(call("move", {"a,b,"}).result), "2");
    EXPECT_FALSE(call("move", {"1", "2"}).error);
    EXPECT_EQ(refusal("move", {"x"}),
              "wrong argument \"x\" for names: expected a list of texts, each ended by a comma");
    EXPECT_EQ(refusal("move", {}), "move takes 1 argument (pan: number) or 1 argument (names: "
                                   "text,[text,...]) or 2 arguments (pan: number, tilt: number), not 0");
}

TEST_F(COperations, ThatCannotBeCalledSayWhy) {
    EXPECT_EQ(refusal("Echo", {}), "unknown operation \"Echo\"");
    for (const std::size_t count : {1, 3})
        EXPECT_EQ(refusal("echo", std::vector<std::string>(count, "1")),
                  "echo takes 2 arguments (channel: number, text: text), not " + std::to_string(count));
    EXPECT_EQ(refusal("echo", {"1x", "t"}), "wrong argument \"1x\" for channel: expected a decimal number "
                                            "from -2147483648 to 2147483647");
    EXPECT_EQ(calls_, 0);
}

TEST_F(COperations, StreamsAreReadByNumberAndByName) {
    for (const auto& [text, expected] : std::map<std::string, std::string>{
             {"5,mjpeg,6", "5,0,6"}, {"-1,mpeg4,0", "-1,1,0"}, {"0,h264,1", "0,2,1"}, {"3,7,-1", "3,7,-1"}})
        EXPECT_EQ(std::get<std::string>(call("streamOf", {text}).result), expected);
    for (const std::string wrong :
         {"", "0,h264", "0,h264,1,2", "0,H264,1", ",,", "0,h264,", "x,h264,1", " 0,h264,1"})
        EXPECT_EQ(refusal("streamOf", {wrong}),
                  "wrong argument \"" + wrong +
                      "\" for stream: expected CHANNEL,CODEC,STREAM: two numbers, "
                      "and between them a codec by number, mjpeg, mpeg4 or h264");
}

// What an argument is refused with.
template <class Read>
std::string RefusalOf(const Read& read, const std::string& text) {
    try {
        read(text);
    } catch (const COperationError& error) {
        return error.what();
    }
    return "not refused";
}

TEST(ArgumentReader, TakesDecimalNumbersOfTheRangeAndNoMore) {
    EXPECT_EQ(SArgumentReader::readInt("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(SArgumentReader::readInt("2147483647"), 2147483647);
    EXPECT_EQ(SArgumentReader::readUnsigned("4294967295"), 4294967295U);
    for (const char* wrong : {"", "-", "2147483648", "-2147483649", "1.5", "0x1", " 1", "1 ", "+1", "1e3"})
        EXPECT_THROW(SArgumentReader::readInt(wrong), COperationError) << wrong;
    for (const char* wrong : {"-1", "4294967296"})
        EXPECT_EQ(RefusalOf(SArgumentReader::readUnsigned, wrong), "a decimal number from 0 to 4294967295");
    EXPECT_EQ(SArgumentReader::readVideoCodec("mpeg4"), VideoCodec::Mpeg4);
    EXPECT_EQ(RefusalOf(SArgumentReader::readVideoCodec, "MJPEG"), "a codec by number, mjpeg, mpeg4 or h264");
}

TEST(ArgumentReader, TakesAudioStreamsByNumberAndByName) {
    const std::string codecs = "a codec by number, mjpeg, mpeg4 or h264 or g726";
    EXPECT_EQ(StreamIdText(SArgumentReader::readAudioStreamId("3,g726")), "3,0");
    EXPECT_EQ(StreamIdText(SArgumentReader::readAudioStreamId("0,h264")), "0,2");
    EXPECT_EQ(static_cast<int>(SArgumentReader::readAudioCodec("mpeg4")), 1);
    EXPECT_EQ(RefusalOf(SArgumentReader::readAudioCodec, "G726"), codecs);
    for (const char* wrong : {"", "0", "0,", ",0", "0,G726", "0,h264,0", " 0,0"})
        EXPECT_EQ(RefusalOf(SArgumentReader::readAudioStreamId, wrong),
                  "STREAM,CODEC: a number, and " + codecs);
    EXPECT_EQ(SArgumentReader::readAudioRecord("bitRate=32").bitRate, CString("32"));
    EXPECT_TRUE(SArgumentReader::readAudioRecord("").bitRate.empty());
    for (const char* wrong : {"32", "bitrate=32", "bitRate=32;x=1"})
        EXPECT_EQ(RefusalOf(SArgumentReader::readAudioRecord, wrong), "bitRate=VALUE");
}

TEST(ArgumentReader, TakesTheFieldsOfAVideoRecordInAnyOrder) {
    const auto record = SArgumentReader::readVideoRecord(
        "bitRateControl=6;bitRate=5;keyFrameInterval=4;quality=;resolution=2=2;frameRate=1;");
    EXPECT_THAT(
        (std::vector<CString>{record.frameRate, record.resolution, record.quality, record.keyFrameInterval,
                              record.bitRate, record.bitRateControl}),
        ElementsAre(CString("1"), CString("2=2"), CString(""), CString("4"), CString("5"), CString("6")));
    for (const char* wrong : {"1", "=1", "bitRate", "bitrate=1", ";bitRate=1", "bitRate=1;5", "frameRat=1"})
        EXPECT_EQ(RefusalOf(SArgumentReader::readVideoRecord, wrong),
                  "FIELD=VALUE pairs joined by \";\", each FIELD one of frameRate, resolution, quality, "
                  "keyFrameInterval, bitRate, bitRateControl");
}

TEST(ArgumentReader, SplitsListsAtCommasTheLastOfWhichEndsTheList) {
    EXPECT_THAT(SArgumentReader::readTexts(""), IsEmpty());
    EXPECT_THAT(SArgumentReader::readTexts("a"), ElementsAre("a"));
    EXPECT_THAT(SArgumentReader::readTexts("a,"), ElementsAre("a"));
    EXPECT_THAT(SArgumentReader::readTexts(",a,,b"), ElementsAre("", "a", "", "b"));
    EXPECT_THAT(SArgumentReader::readTexts(","), ElementsAre(""));
}

} // namespace
} // namespace corvane::tests
