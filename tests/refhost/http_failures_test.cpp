// What a caller is told when a device, or the way to it, fails.

#include "refhost/http/connection_probe.h"
#include "refhost/http/device_requests.h"
#include "refhost/http/http_client.h"
#include "refhost/http/http_reception.h"
#include "tests/refhost/http_support.h"
#include "tests/support/scripted_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <sys/resource.h>

namespace corvane::tests {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr const char* DroppedText = "connection closed before the reply";
constexpr const char* CutText = "connection closed in the middle of the reply";
constexpr const char* NotHttpText = "the reply is not HTTP";
constexpr const char* HeaderTooLargeText = "the reply's header is larger than 256 KiB";
constexpr const char* TooLargeText = "the reply is larger than 16 MiB";

struct SFailure {
    const char* name;
    SScriptedReply reply;
    const char* text;
    int status = 0; // what a POST returns

    RtnCode code() const { return status == 0 ? RtnCode::NotAccessible : RtnCode::OperationFailed; }
};

void PrintTo(const SFailure& failure, std::ostream* out) {
    *out << failure.name;
}

class HttpFailure : public testing::TestWithParam<SFailure> {};

const std::string OkHead = "HTTP/1.1 200 OK\r\n";
const std::string Chunked = OkHead + "Transfer-Encoding: chunked\r\n\r\n";

// Larger than the bound, however it is framed.
std::string EndlessChunks() {
    const std::string chunk = "100000\r\n" + std::string(0x100000, 'x') + "\r\n";
    std::string bytes = Chunked;
    for (int i = 0; i < 18; ++i)
        bytes += chunk;
    return bytes;
}

std::string EndlessHeaders() {
    std::string bytes = OkHead;
    for (int i = 0; i < 1024; ++i)
        bytes += "X-Filler: " + std::string(1024, 'x') + "\r\n";
    return bytes;
}

// libcurl gives each line on, and would keep them all.
std::string EndlessTrailers() {
    std::string bytes = OkHead + "Transfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n0\r\n";
    const std::string trailer = "X-Filler: " + std::string(1024, 'x') + "\r\n";
    for (int i = 0; i < 1024; ++i)
        bytes += trailer;
    return bytes;
}

std::string EndlessContinues() {
    std::string bytes;
    const std::string head = "HTTP/1.1 100 Continue\r\nX-Filler: " + std::string(1024, 'x') + "\r\n\r\n";
    for (int i = 0; i < 1024; ++i)
        bytes += head;
    return bytes;
}

const SFailure Failures[] = {
    {"NotFound", {HttpReply(404, "no")}, "HTTP status 404 Not Found", 404},
    {"NoReason", {HttpReply(299, "no")}, "HTTP status 299", 299},
    {"NoContent", {"HTTP/1.1 204 No\r\n\r\n"}, "HTTP status 204 No Content", 204},
    {"Redirected", {HttpReply(302, "", "Location: /elsewhere\r\n")}, "HTTP status 302 Found", 302},
    {"Unavailable", {HttpReply(503, "")}, "HTTP status 503 Service Unavailable", 503},
    {"ClosedWithoutAWord", {"", SScriptedReply::Close}, DroppedText},
    {"ResetWithoutAWord", {"", SScriptedReply::Reset}, DroppedText},
    {"CutInTheStatusLine", {"HTTP/1.1 20", SScriptedReply::Close}, DroppedText}, // as libcurl tells it
    {"CutInTheHeaders", {OkHead + "Content-Length: 5\r\nContent-", SScriptedReply::Close}, CutText},
    {"CutAfterAHeader", {OkHead + "Content-Type: text/plain\r\n", SScriptedReply::Close}, CutText},
    {"CutInTheBody", {OkHead + "Content-Length: 10\r\n\r\nhalf", SScriptedReply::Close}, CutText},
    {"CutInAChunk", {Chunked + "10\r\nhalf", SScriptedReply::Close}, CutText},
    {"Garbage", {"\x01\x02garbage\r\n\r\n", SScriptedReply::Close}, NotHttpText},
    {"AnotherProtocol", {"RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n", SScriptedReply::Close}, NotHttpText},
    {"AStatusOfOneDigit", {"HTTP/204 x\r\nContent-Length: 0\r\n\r\n"}, NotHttpText},
    {"TheRestOfALineFirst", {OkHead + " rest: x\r\nContent-Length: 0\r\n\r\n"}, NotHttpText},
    {"TheRestOfALineFirstBehindSmallLetters",
     {"http/1.1 200 OK\r\n rest: x\r\nContent-Length: 0\r\n\r\n"},
     NotHttpText},
    {"ABarePage", {"NAME=x\r\n", SScriptedReply::Close}, NotHttpText},
    {"NoSuchChunk", {Chunked + "not a number\r\n", SScriptedReply::Close}, "chunk"},
    {"ANegativeLength", {OkHead + "Content-Length: -5\r\n\r\nx", SScriptedReply::Close}, NotHttpText},
    {"EndlessBody", {EndlessChunks(), SScriptedReply::Stall}, TooLargeText},
    {"EndlessHeaders", {EndlessHeaders(), SScriptedReply::Stall}, HeaderTooLargeText},
    {"EndlessTrailers", {EndlessTrailers(), SScriptedReply::Stall}, HeaderTooLargeText},
    {"EndlessContinues", {EndlessContinues(), SScriptedReply::Stall}, HeaderTooLargeText},
};

TEST_P(HttpFailure, IsToldAndLeavesTheOutputsAlone) {
    const CScriptedServer device([](const SSentRequest&) { return GetParam().reply; });

    std::string response = "untouched";
    const CError error = Get(device.address(), response);
    EXPECT_THAT(error, IsError(GetParam().code(), Origin::Device, GetParam().text));
    EXPECT_NE(error.getText().back(), ' ');
    EXPECT_EQ(response, "untouched");

    std::vector<std::string> values{"KEY="};
    EXPECT_THAT(vorn_utility::v1_0::CVornCgiLib::vornCgiGetQueryResult(UrlOf("/"), device.address(), "admin",
                                                                       "secret", values, 60, "\r\n", "ANY"),
                IsError(GetParam().code(), Origin::Device, GetParam().text));
    EXPECT_THAT(values, testing::ElementsAre("KEY="));

    vorn_utility::v1_0::CHttpInterface client("admin", "secret");
    ASSERT_EQ(client.Initialize(), 0);
    EXPECT_EQ(client.SetContent("a=b", "http://" + device.address() + "/"), GetParam().status);
    for (const SSentRequest& request : device.requests())
        EXPECT_EQ(request.target, "/");
}

INSTANTIATE_TEST_SUITE_P(Each, HttpFailure, testing::ValuesIn(Failures),
                         [](const auto& failure) { return failure.param.name; });

TEST(HttpFailures, AReplyOfTheLargestSizeIsNone) {
    const std::string largest(16U << 20, 'x');
    const CScriptedServer device([&](const SSentRequest& request) -> SScriptedReply {
        return {HttpReply(200, request.target == "/" ? largest : largest + "x")};
    });
    std::string response;
    EXPECT_THAT(Get(device.address(), response), IsSuccess());
    EXPECT_TRUE(response == largest);
    EXPECT_THAT(Get(device.address(), response, "/more"),
                IsError(RtnCode::NotAccessible, Origin::Device, TooLargeText));
}

TEST(HttpFailures, AClosedPortIsRefused) {
    std::string response;
    EXPECT_THAT(Get(UnusedAddress(), response),
                IsError(RtnCode::NotAccessible, Origin::Device, "connection refused"));
}

TEST(HttpFailures, ANameThatDoesNotExistIsNotFound) {
    std::string response;
    EXPECT_THAT(Get("no-such-camera.invalid", response),
                IsError(RtnCode::NotAccessible, Origin::Device, "host not found"));
}

TEST(HttpFailures, TheTimeOutBoundsTheWholeExchange) {
    const SScriptedReply slow[] = {
        {"", SScriptedReply::Stall},
        {OkHead + "Content-Length: 10\r\n\r\nhalf", SScriptedReply::Stall},
        {OkHead + "Content-Length: 100000\r\n\r\n" + std::string(100000, 'x'), SScriptedReply::Close, 20ms},
    };
    for (const SScriptedReply& reply : slow) {
        const CScriptedServer device([&](const SSentRequest&) { return reply; });
        std::string response = "untouched";
        const auto start = Clock::now();
        EXPECT_THAT(Get(device.address(), response, "/", "secret", 1),
                    IsError(RtnCode::NotAccessible, Origin::Device, "timed out after 1 s"));
        EXPECT_GE(Clock::now() - start, 990ms);
        EXPECT_LT(Clock::now() - start, 3s);
        EXPECT_EQ(response, "untouched");
    }
}

TEST(HttpFailures, NoTimeAtAllIsTimedOutAtOnceAndNotForEver) {
    const CScriptedServer device([](const SSentRequest&) -> SScriptedReply {
        return {"", SScriptedReply::Stall};
    });
    std::string response;
    EXPECT_THAT(Get(device.address(), response, "/", "secret", 0),
                IsError(RtnCode::NotAccessible, Origin::Device, "timed out after 0 s"));
    EXPECT_TRUE(device.requests().empty());
}

TEST(HttpFailures, WhatIsNoDeviceAddressIsNotAsked) {
    const CScriptedServer device([](const SSentRequest&) -> SScriptedReply { return {HttpReply(200, "")}; });
    std::string response;
    for (const std::string& address :
         {device.address() + "/other?", "user@" + device.address(), std::string()})
        EXPECT_THAT(Get(address, response),
                    IsError(RtnCode::NotAccessible, Origin::Device, "no device address"));
    auto url = UrlOf("/");
    url.protocol = "https";
    EXPECT_THAT(vorn_utility::v1_0::CVornCgiLib::vornCgiGetRawResponse(url, device.address(), "", "",
                                                                       response, 4, "ANY"),
                IsError(RtnCode::NotAccessible, Origin::Device, "https"));
    vorn_utility::v1_0::CHttpInterface client("", "");
    EXPECT_LE(client.SetContent("", "http://" + device.address() + "/"), 99); // not initialised
    ASSERT_EQ(client.Initialize(), 0);
    EXPECT_LE(client.SetContent("", "https://" + device.address() + "/"), 99);
    EXPECT_TRUE(device.requests().empty());
}

TEST(HttpFailures, AFailedExchangeLeavesNothingBehindForTheNext) {
    int asked = 0;
    const CScriptedServer device([&](const SSentRequest&) -> SScriptedReply {
        if (++asked % 2 == 1)
            return {OkHead + "Content-Length: 10\r\n\r\nhalf", SScriptedReply::Close};
        return {HttpReply(200, "whole")};
    });
    for (int i = 0; i < 3; ++i) {
        std::string response = "untouched";
        EXPECT_THAT(Get(device.address(), response),
                    IsError(RtnCode::NotAccessible, Origin::Device, CutText));
        EXPECT_THAT(Get(device.address(), response), IsSuccess());
        EXPECT_EQ(response, "whole");
    }
}

// Which of both fails, the sending or the receiving, is a matter of microseconds.
TEST(HttpFailures, ASendingThatIsBrokenOffIsADroppedConnection) {
    const std::unique_ptr<CURL, void (*)(CURL*)> curl(curl_easy_init(), curl_easy_cleanup);
    refhost::CHttpRounds rounds;
    const refhost::CHttpReception::IsEnough all;
    const auto failure =
        refhost::CHttpReception(rounds, all)
            .failureOf(curl.get(), CURLE_SEND_ERROR, "Send failure: Connection reset by peer", 1s);
    EXPECT_EQ(failure.kind, refhost::HttpFailure::Dropped);
    EXPECT_EQ(failure.text, DroppedText);
}

#ifndef VORN_UNDER_ASAN // whose look at an object's type needs a descriptor
// The camera is not to blame for a descriptor that this process may not open.
TEST(HttpFailures, NameTheOwnLimit) {
    rlimit usual{};
    getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit none{3, usual.rlim_max}; // the standard streams
    setrlimit(RLIMIT_NOFILE, &none);
    refhost::SHttpRequest request;
    request.address = "127.0.0.1:9";
    request.path = "/";
    request.authScheme = refhost::AnyAuthScheme;
    request.timeout = 5;
    const refhost::SHttpReply reply = refhost::ExchangeHttp(request);
    const refhost::SProbedConnection probed = refhost::ProbeConnection(request.address, 5s);
    setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(reply.kind, refhost::HttpFailure::OwnLimit) << reply.failure;
    EXPECT_EQ(probed.kind, refhost::HttpFailure::OwnLimit) << probed.failure;
}
#endif

} // namespace
} // namespace corvane::tests
