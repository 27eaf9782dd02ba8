#include "site/calls/answer_text.h"
#include "tools/vornhost/names.h"

#include <gtest/gtest.h>

namespace corvane::vornhost {
namespace {

std::string Line(const SAnswer& answer, const SCall& call = {"op", {}}) {
    return JsonLine(AnswerJson(call, {answer, 0.40004}));
}

TEST(Answers, OfAnOperationThatReturnsAnError) {
    SAnswer range;
    range.error = CError::Success();
    range.values = {"320x180", "640x360"};
    range.type = 1;
    EXPECT_EQ(Line(range, {"getVideoCodecResolutionRange", {"0", "0", "h264"}}),
              R"({"operation":"getVideoCodecResolutionRange","arguments":["0","0","h264"],)"
              R"("code":1,"origin":0,"text":"","values":["320x180","640x360"],"type":1,"ms":0.4})"
              "\n");

    SAnswer failure;
    failure.error = CError(RtnCode::NotAccessible, Origin::Device, "no \"x\"");
    EXPECT_EQ(Line(failure), R"({"operation":"op","arguments":[],"code":7,"origin":4,)"
                             R"("text":"no \"x\"","values":[],"ms":0.4})"
                             "\n");

    SAnswer record;
    record.error = CError::Success();
    record.record = SAnswer::Record{{"frameRate", "30"}, {"bitRate", ""}};
    EXPECT_EQ(Line(record), R"({"operation":"op","arguments":[],"code":1,"origin":0,"text":"",)"
                            R"("values":[],"record":{"frameRate":"30","bitRate":""},"ms":0.4})"
                            "\n");
    record.record = SAnswer::Record{}; // nothing in it is set
    EXPECT_EQ(Line(record), R"({"operation":"op","arguments":[],"code":1,"origin":0,"text":"",)"
                            R"("values":[],"record":{},"ms":0.4})"
                            "\n");
}

TEST(Answers, OfAnOperationThatReturnsAPlainValue) {
    const struct {
        SAnswer::Result result;
        const char* json;
    } cases[] = {{true, "true"},
                 {-5LL, "-5"},
                 {std::string("a"), "\"a\""},
                 {std::vector<std::string>{}, "[]"},
                 {std::vector<std::string>{"a", ""}, "[\"a\",\"\"]"}};
    for (const auto& test : cases) {
        SAnswer answer;
        answer.result = test.result;
        EXPECT_EQ(Line(answer), std::string(R"({"operation":"op","arguments":[],"result":)") + test.json +
                                    R"(,"values":[],"ms":0.4})"
                                    "\n");
    }
}

TEST(Answers, AreOneLineOfUtf8WhateverTheyHold) {
    SAnswer answer;
    answer.result = std::string("\xFF\n\x1b");
    EXPECT_EQ(Line(answer), "{\"operation\":\"op\",\"arguments\":[],\"result\":\"\xEF\xBF\xBD\\n\\u001b\","
                            "\"values\":[],\"ms\":0.4}\n");
    // What a terminal would obey, or show in another order.
    answer.result = std::string("\x7F\xC2\x80\xC2\x9B\xE2\x80\xAE\xC3\xBC\xF0\x9F\x98\x80");
    EXPECT_EQ(
        Line(answer),
        "{\"operation\":\"op\",\"arguments\":[],"
        "\"result\":\"\\u007f\\u0080\\u009b\\u202e\xC3\xBC\xF0\x9F\x98\x80\",\"values\":[],\"ms\":0.4}\n");
    EXPECT_EQ(JsonLine(ErrorJson("a\xC3", "b")), "{\"operation\":\"a\xEF\xBF\xBD\",\"error\":\"b\"}\n");
}

TEST(Answers, ForEyesLeaveOutTheValuesOfAFailure) {
    SAnswer failure;
    failure.error = CError(RtnCode::OutOfRange, Origin::Handler, "too\x1bmuch");
    failure.values = {"left over"};
    EXPECT_EQ(AnswerText({failure, 0}), "code    15\ntext    too\xEF\xBF\xBDmuch\n");
}

} // namespace
} // namespace corvane::vornhost
