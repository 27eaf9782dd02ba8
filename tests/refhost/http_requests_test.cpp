// What reaches the device, and what is read out of its reply.

#include "host/camera.h"
#include "refhost/base/log.h"
#include "refhost/http/http_handle_pool.h"
#include "tests/refhost/http_support.h"
#include "tests/support/scripted_server.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvane::tests {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SVornUrl;
using testing::ElementsAre;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_utility::v1_0::CHttpInterface;
using vorn_utility::v1_0::CVornCgiLib;

SScriptedReply AnswerOk(const SSentRequest&) {
    return {HttpReply(200, "ok")};
}

SScriptedReply AnswerAndClose(const SSentRequest&) {
    return {HttpReply(200, "ok"), SScriptedReply::Close};
}

TEST(HttpRequests, TheQueryIsAppendedToThePath) {
    const CScriptedServer device(AnswerOk);
    const struct {
        const char* path;
        std::vector<std::pair<std::string, std::string>> parameters;
        std::vector<std::string> keys;
        const char* sent;
    } cases[] = {
        {"/cgi", {}, {}, "/cgi"},
        {"/cgi", {{"FILE", "1"}, {"page", "12345"}}, {}, "/cgi?FILE=1&page=12345"},
        {"/cgi", {{"a b", "c&d=\xC3\xA9+"}}, {"PAN=", "TILT="}, "/cgi?a%20b=c%26d%3D%C3%A9%2B&PAN=&TILT="},
        {"/cgi?x=1", {{"y", "2"}}, {}, "/cgi?x=1&y=2"},
        {"/cgi?", {}, {"PAN="}, "/cgi?PAN="},
        {"/cgi?x=1&", {}, {"PAN="}, "/cgi?x=1&PAN="},
        {"cgi/../up", {}, {}, "/cgi/../up"},
    };
    for (const auto& one : cases) {
        SVornUrl url = UrlOf(one.path);
        url.parameters = one.parameters;
        url.queryKeys = one.keys;
        std::string response;
        ASSERT_THAT(CVornCgiLib::vornCgiGetRawResponse(url, device.address(), "", "", response, 60, "ANY"),
                    IsSuccess());
        EXPECT_EQ(device.requests().back().target, one.sent);
    }
}

TEST(HttpRequests, TheAddressesPortComesFirstThenTheUrls) {
    const CScriptedServer device(AnswerOk);
    SVornUrl url = UrlOf("/");
    std::string response;
    url.port = "1";
    EXPECT_THAT(CVornCgiLib::vornCgiGetRawResponse(url, device.address(), "", "", response, 60, "ANY"),
                IsSuccess());
    url.port = device.port();
    EXPECT_THAT(CVornCgiLib::vornCgiGetRawResponse(url, "127.0.0.1", "", "", response, 60, "ANY"),
                IsSuccess());
    url.port = "80x";
    EXPECT_FALSE(!CVornCgiLib::vornCgiGetRawResponse(url, "127.0.0.1", "", "", response, 60, "ANY"));
}

TEST(HttpRequests, AnIpv6AddressStandsInBrackets) {
    const CScriptedServer device(AnswerOk, true);
    std::string response;
    EXPECT_THAT(Get(device.address(), response), IsSuccess());
    EXPECT_EQ(device.requests().back().header("Host"), device.address());
}

TEST(HttpRequests, NeitherTheEnvironmentNorAnEmptyUserAddsAnything) {
    const CScriptedServer device(AnswerOk);
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing else reads the environment here
    ASSERT_EQ(setenv("http_proxy", ("http://" + UnusedAddress()).c_str(), 1), 0);
    std::string response;
    EXPECT_THAT(CVornCgiLib::vornCgiGetRawResponse(UrlOf("/"), device.address(), "", "password", response, 60,
                                                   "BASIC"),
                IsSuccess());
    EXPECT_EQ(device.requests().back().header("Authorization"), "");
}

TEST(HttpRequests, AnAbsoluteUrlOfAPostMayBeWrittenInCapitals) {
    const CScriptedServer device(AnswerOk);
    CHttpInterface client("admin", "secret");
    ASSERT_EQ(client.Initialize(), 0);
    EXPECT_EQ(client.SetContent("a=b", "HTTP://" + device.address() + "/set?c=d"), 200);
    EXPECT_EQ(client.SetContent("", "http://" + device.address()), 200);
    EXPECT_EQ(client.SetContent("", "http://" + device.address() + "?e=/"), 200);
    const auto requests = device.requests();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests[0].target, "/set?c=d");
    EXPECT_EQ(requests[0].body, "a=b");
    EXPECT_EQ(requests[1].target, "/");
    EXPECT_EQ(requests[1].header("Content-Length"), "0");
    EXPECT_EQ(requests[2].target, "/?e=/");
}

TEST(HttpRequests, ADeviceThatClosesEachConnectionLosesOneRequestAtMost) {
    const CScriptedServer device(AnswerAndClose);
    CHttpInterface client("admin", "secret");
    ASSERT_EQ(client.Initialize(), 0);
    std::size_t lost = 0;
    for (int i = 0; i < 40; ++i) { // at once, so that some would cross the end of the connection before
        std::string response;
        if (i % 2 == 0 ? !!Get(device.address(), response)
                       : client.SetContent("n=1", "http://" + device.address() + "/") != 200)
            ++lost;
    }
    EXPECT_LE(lost, 1U);
    EXPECT_EQ(device.requests().size() + lost, 40U);
}

TEST(HttpRequests, AGetAfterAPostOnTheSameHandleCarriesNoBody) {
    const CScriptedServer device(AnswerOk);
    CHttpInterface client("admin", "secret");
    ASSERT_EQ(client.Initialize(), 0);
    ASSERT_EQ(client.SetContent("a=b", "http://" + device.address() + "/"), 200);
    std::string response;
    ASSERT_THAT(Get(device.address(), response), IsSuccess());
    const SSentRequest last = device.requests().back();
    EXPECT_EQ(last.connection, 0);
    EXPECT_EQ(last.method, "GET");
    EXPECT_EQ(last.header("Content-Length"), "");
    EXPECT_EQ(last.header("Content-Type"), "");
}

TEST(HttpRequests, ValuesAreFoundInPiecesThatBeginWithTheirKey) {
    const CScriptedServer device([](const SSentRequest&) -> SScriptedReply {
        return {HttpReply(200, "XMAC=no\r\nMAC=00:80\r\nNAME=a=b&VERSION=1'NAME=late\r\nEMPTY=\r\nLAST=end")};
    });
    SVornUrl url = UrlOf("/");
    url.queryKeys = {"NAME="};
    const auto query = [&](std::vector<std::string> values) {
        EXPECT_THAT(
            CVornCgiLib::vornCgiGetQueryResult(url, device.address(), "", "", values, 60, "&\r\n'", "ANY"),
            IsSuccess());
        return values;
    };
    EXPECT_THAT(query({"MAC=", "NAME=", "VERSION=", "EMPTY=", "ABSENT=", "LAST="}),
                ElementsAre("00:80", "a=b", "1", "", "", "end"));
    EXPECT_THAT(query({}), ElementsAre("a=b"));
}

TEST(HttpRequests, ASingleValueEndsAtTheFirstDelimiter) {
    const CScriptedServer device([](const SSentRequest&) -> SScriptedReply {
        return {HttpReply(200, "NAME=WV-GXE500\r\nSERIAL=12 34")};
    });
    SVornUrl url = UrlOf("/");
    const auto value = [&](const std::string& key) {
        url.replyKey = key;
        std::string found = "old";
        EXPECT_THAT(CVornCamera::getCamSingleValue(device.address(), url, "", "", found, "&\r\n'", "ANY"),
                    IsSuccess());
        return found;
    };
    EXPECT_EQ(value("NAME="), "WV-GXE500");
    EXPECT_EQ(value("SERIAL="), "12 34");
    EXPECT_EQ(value("ABSENT="), "");
}

std::vector<int> Statuses(const refhost::SHttpExchange& exchange) {
    std::vector<int> statuses;
    for (const refhost::SHttpRound& round : exchange.rounds)
        statuses.push_back(round.status);
    return statuses;
}

TEST(HttpRequests, AnExchangeIsToldOnceWithTheRoundsItTook) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        if (request.header("Authorization").empty())
            return {HttpReply(401, "", "WWW-Authenticate: Basic realm=\"camera\"\r\nX-No-Status: 404\r\n")};
        return {HttpReply(request.method == "GET" ? 200 : 500, "")};
    });
    std::vector<refhost::SHttpExchange> told;
    refhost::SetExchangeObserver([&](const refhost::SHttpExchange& exchange) { told.push_back(exchange); });
    std::string response;
    ASSERT_THAT(Get(device.address(), response, "/cgi?a=b"), IsSuccess());
    CHttpInterface client("admin", "secret");
    ASSERT_EQ(client.Initialize(), 0);
    EXPECT_EQ(client.SetContent("c=d", "http://" + device.address() + "/set"), 500);
    const std::string unused = UnusedAddress();
    EXPECT_FALSE(!Get(unused, response));
    refhost::SetExchangeObserver({});
    EXPECT_THAT(Get(device.address(), response), IsSuccess());

    ASSERT_EQ(told.size(), 3U);
    EXPECT_EQ(told[0].address, device.address());
    EXPECT_EQ(told[0].method + " " + told[0].path, "GET /cgi?a=b");
    EXPECT_EQ(told[0].status, 200);
    EXPECT_EQ(told[0].failure, "");
    EXPECT_EQ(Statuses(told[0]), (std::vector<int>{401, 200}));
    EXPECT_GE(told[0].milliseconds, told[0].rounds[0].milliseconds + told[0].rounds[1].milliseconds);
    EXPECT_EQ(told[1].method + " " + told[1].path + " " + told[1].body, "POST /set c=d");
    EXPECT_EQ(told[1].failure, "HTTP status 500 Internal Server Error");
    EXPECT_EQ(told[2].address, unused);
    EXPECT_EQ(told[2].status, 0);
    EXPECT_EQ(told[2].failure, "connection refused");
    EXPECT_TRUE(told[2].rounds.empty());
}

TEST(HttpRequests, TwoHandlesAreKeptForEachPeerTheOneUsedLastFirst) {
    refhost::CHttpHandlePool& pool = refhost::CHttpHandlePool::instance();
    const refhost::SHttpPeer peer{"10.0.0.1:80", "user", "word", "ANY"};
    constexpr std::chrono::milliseconds AtOnce{0};
    CURL* usedLast = nullptr;
    CURL* usedBefore = nullptr;
    {
        // The loans end in the opposite order.
        refhost::CHttpHandleLoan last = pool.take(peer, AtOnce);
        refhost::CHttpHandleLoan before = pool.take(peer, AtOnce);
        refhost::CHttpHandleLoan first = pool.take(peer, AtOnce);
        refhost::CHttpHandleLoan useless = pool.take(peer, AtOnce);
        for (refhost::CHttpHandleLoan* const loan : {&last, &before, &first, &useless}) {
            EXPECT_FALSE(loan->isUsed());
            loan->renew();
            if (loan != &useless)
                loan->keep();
        }
        usedLast = last.handle();
        usedBefore = before.handle();
    }
    for (const refhost::SHttpPeer& other : {refhost::SHttpPeer{"10.0.0.1:81", "user", "word", "ANY"},
                                            {"10.0.0.1:80", "u", "word", "ANY"},
                                            {"10.0.0.1:80", "user", "w", "ANY"},
                                            {"10.0.0.1:80", "user", "word", "BASIC"}})
        EXPECT_FALSE(pool.take(other).isUsed());
    const refhost::CHttpHandleLoan last = pool.take(peer);
    const refhost::CHttpHandleLoan before = pool.take(peer);
    EXPECT_EQ(last.handle(), usedLast);
    EXPECT_EQ(before.handle(), usedBefore);
    EXPECT_FALSE(pool.take(peer).isUsed());
}

TEST(HttpRequests, ARequestWaitsForTheConnectionOfAnotherRatherThanOpenOne) {
    refhost::CHttpHandlePool& pool = refhost::CHttpHandlePool::instance();
    const refhost::SHttpPeer peer{"10.0.0.2:80", "user", "word", "ANY"};
    constexpr std::chrono::minutes ForLong{10};
    CURL* handle = nullptr;
    std::thread other;
    {
        refhost::CHttpHandleLoan first = pool.take(peer, ForLong); // nobody has one
        first.renew();
        first.keep();
        handle = first.handle();
        EXPECT_FALSE(pool.take(peer, std::chrono::milliseconds(1)).isUsed()); // has waited long enough
        other = std::thread([&] { EXPECT_EQ(pool.take(peer, ForLong).handle(), handle); });
    }
    other.join(); // it did not keep the handle
    EXPECT_FALSE(pool.take(peer, ForLong).isUsed());
}

// Whatever becomes of a connection, what may have reached the device is not sent to it again.
TEST(HttpRequests, ARequestThatHasLeftIsSentOnce) {
    for (const SScriptedReply::End end : {SScriptedReply::Close, SScriptedReply::Reset}) {
        const CScriptedServer device([end](const SSentRequest& request) -> SScriptedReply {
            if (request.target == "/move")
                return {"", end};
            return {HttpReply(200, "")};
        });
        std::vector<refhost::SHttpExchange> told;
        refhost::SetExchangeObserver(
            [&](const refhost::SHttpExchange& exchange) { told.push_back(exchange); });
        std::string response;
        const auto connect = [&] { ASSERT_THAT(Get(device.address(), response, "/first"), IsSuccess()); };
        connect();
        EXPECT_THAT(Get(device.address(), response, "/move"),
                    IsError(RtnCode::NotAccessible, Origin::Device, "connection closed before the reply"));
        connect();
        CHttpInterface client("admin", "secret");
        ASSERT_EQ(client.Initialize(), 0);
        EXPECT_EQ(client.SetContent("cmd=reset", "http://" + device.address() + "/move"), 0);
        for (int i = 2; i < refhost::CHttpHandlePool::MostCautious; ++i)
            connect(); // on a connection of its own each time
        connect();     // which is kept again
        connect();
        refhost::SetExchangeObserver({});

        const std::vector<SSentRequest> sent = device.requests();
        ASSERT_EQ(sent.size(), 104U);
        for (std::size_t i = 0; i < sent.size(); ++i)
            EXPECT_EQ(sent[i].target, i == 1 || i == 3 ? "/move" : "/first") << i;
        EXPECT_EQ(sent[1].connection, 0); // the kept one
        EXPECT_EQ(Statuses(told[1]), std::vector<int>{0});
        for (std::size_t i = 2; i < 103; ++i)
            EXPECT_EQ(sent[i].connection, sent[i - 1].connection + 1) << i;
        EXPECT_EQ(sent[103].connection, sent[102].connection);
    }
}

TEST(HttpRequests, AConnectionThatTheDeviceHasClosedMeanwhileIsReplaced) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        if (request.header("Authorization").empty()) // the challenge's own connection, too
            return {HttpReply(401, "", "WWW-Authenticate: Basic realm=\"camera\"\r\nConnection: close\r\n"),
                    SScriptedReply::Close};
        return {HttpReply(200, ""), SScriptedReply::Close};
    });
    std::string response;
    for (int i = 0; i < 2; ++i) {
        ASSERT_THAT(Get(device.address(), response), IsSuccess());
        ASSERT_TRUE(device.waitForOpenConnections(0));
    }
    EXPECT_EQ(device.requests().size(), 3U);
}

} // namespace
} // namespace corvane::tests
