#include "host/operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace corvane::tests {
namespace {

using namespace device_handler::v1_0;
using handler_impl::SVideoStreamId;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
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
        registry_.add("codecOf", {"stream"}, boost::function<int(SVideoStreamId&)>([](SVideoStreamId& id) {
                          return static_cast<int>(id.codec);
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
    EXPECT_THAT(refusal("move", {"x"}), HasSubstr("names"));
    EXPECT_THAT(refusal("move", {}), AllOf(HasSubstr("1 argument (pan: number) or"),
                                           HasSubstr("2 arguments (pan: number, tilt: number)")));
}

TEST_F(COperations, ThatCannotBeCalledSayWhy) {
    EXPECT_THAT(refusal("Echo", {}), HasSubstr("unknown operation \"Echo\""));
    EXPECT_EQ(refusal("echo", {"1"}), "echo takes 2 arguments (channel: number, text: text), not 1");
    EXPECT_THAT(refusal("echo", {"1x", "t"}),
                AllOf(HasSubstr("\"1x\" for channel"), HasSubstr("-2147483648 to 2147483647")));
    EXPECT_EQ(calls_, 0);
}

TEST_F(COperations, StreamsAreReadByNumberAndByName) {
    EXPECT_EQ(std::get<long long>(call("codecOf", {"0,h264,1"}).result), 2);
    EXPECT_EQ(std::get<long long>(call("codecOf", {"3,7,-1"}).result), 7);
    for (const char* wrong :
         {"", "0,h264", "0,h264,1,2", "0,H264,1", ",,", "0,h264,", "x,h264,1", " 0,h264,1"})
        EXPECT_THAT(refusal("codecOf", {wrong}), HasSubstr("CHANNEL,CODEC,STREAM")) << wrong;
}

TEST(ArgumentReader, TakesDecimalNumbersOfTheRangeAndNoMore) {
    EXPECT_EQ(SArgumentReader::readInt("-2147483648"), -2147483647 - 1);
    EXPECT_EQ(SArgumentReader::readInt("2147483647"), 2147483647);
    EXPECT_EQ(SArgumentReader::readUnsigned("4294967295"), 4294967295U);
    for (const char* wrong : {"", "-", "2147483648", "-2147483649", "1.5", "0x1", " 1", "1 ", "+1", "1e3"})
        EXPECT_THROW(SArgumentReader::readInt(wrong), COperationError) << wrong;
    for (const char* wrong : {"-1", "4294967296"})
        EXPECT_THROW(SArgumentReader::readUnsigned(wrong), COperationError) << wrong;
    EXPECT_THROW(SArgumentReader::readVideoCodec("MJPEG"), COperationError);
}

TEST(ArgumentReader, TakesAudioStreamsByNumberAndByName) {
    const handler_impl::SAudioStreamId id = SArgumentReader::readAudioStreamId("3,g726");
    EXPECT_EQ(StreamIdText(id), "3,0");
    EXPECT_EQ(StreamIdText(SArgumentReader::readAudioStreamId("0,h264")), "0,2");
    for (const char* wrong : {"", "0", "0,", ",0", "0,G726", "0,h264,0", " 0,0"})
        EXPECT_THROW(SArgumentReader::readAudioStreamId(wrong), COperationError) << wrong;
    EXPECT_EQ(SArgumentReader::readAudioRecord("bitRate=32").bitRate, CString("32"));
    EXPECT_TRUE(SArgumentReader::readAudioRecord("").bitRate.empty());
    for (const char* wrong : {"32", "bitrate=32", "bitRate=32;x=1"})
        EXPECT_THROW(SArgumentReader::readAudioRecord(wrong), COperationError) << wrong;
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
