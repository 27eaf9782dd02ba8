// How many round trips authentication costs, counted by the device.

#include "tests/refhost/http_support.h"
#include "tests/support/scripted_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace corvane::tests {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using vorn_utility::v1_0::CHttpInterface;

std::string Challenge(const std::string& scheme, const std::string& nonce = {}, bool stale = false) {
    const std::string parameters =
        nonce.empty() ? "" : ", nonce=\"" + nonce + "\", qop=\"auth\"" + (stale ? ", stale=true" : "");
    return HttpReply(401, "", "WWW-Authenticate: " + scheme + " realm=\"camera\"" + parameters + "\r\n");
}

// A device that lets in whoever shows the nonce it gave out last.
struct SDigestDevice {
    std::string nonce = "nonce1";
    bool saysStale = false;

    SScriptedReply operator()(const SSentRequest& request) const {
        const std::string shown = request.header("Authorization");
        if (shown.find("nonce=\"" + nonce + "\"") != std::string::npos)
            return {HttpReply(200, "let in")};
        return {Challenge("Digest", nonce, saysStale && !shown.empty())};
    }
};

TEST(HttpDigest, AHundredRequestsMakeAHundredAndOneRoundTripsOnOneConnection) {
    const CScriptedServer device((SDigestDevice()));
    for (int i = 0; i < 100; ++i) {
        std::string response;
        ASSERT_THAT(Get(device.address(), response), IsSuccess());
        ASSERT_EQ(response, "let in");
    }
    const auto requests = device.requests();
    EXPECT_EQ(requests.size(), 101U);
    EXPECT_EQ(requests.back().connection, 0);
}

TEST(HttpDigest, BasicCredentialsAreSentUnaskedOnceTheDeviceHasAskedForThem) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        return {request.header("Authorization").empty() ? Challenge("Basic") : HttpReply(200, "")};
    });
    std::string response;
    for (int i = 0; i < 10; ++i)
        ASSERT_THAT(Get(device.address(), response), IsSuccess());
    EXPECT_EQ(device.requests().size(), 11U);
    EXPECT_EQ(device.requests().back().header("Authorization"), "Basic YWRtaW46c2VjcmV0");
}

TEST(HttpDigest, ANewNonceCostsOneRoundTripMore) {
    SDigestDevice state;
    state.saysStale = true;
    const CScriptedServer device([&](const SSentRequest& request) { return state(request); });
    std::string response;
    ASSERT_THAT(Get(device.address(), response), IsSuccess());
    state.nonce = "nonce2"; // the server's threads are idle between two requests
    ASSERT_THAT(Get(device.address(), response), IsSuccess());
    EXPECT_EQ(device.requests().size(), 4U);
}

TEST(HttpDigest, ADeviceThatAsksForEverIsRefused) {
    int nonce = 0;
    bool letsIn = true;
    const CScriptedServer device([&](const SSentRequest& request) -> SScriptedReply {
        if (letsIn && !request.header("Authorization").empty())
            return {HttpReply(200, "let in")};
        return {Challenge("Digest", "n" + std::to_string(++nonce), true)};
    });
    std::string response;
    ASSERT_THAT(Get(device.address(), response), IsSuccess());
    letsIn = false;
    for (const std::size_t rounds :
         {6U, 3U}) { // the second time there is no challenge that it may have forgotten
        const std::size_t before = device.requests().size();
        EXPECT_THAT(Get(device.address(), response),
                    IsError(RtnCode::AuthenticationFailed, Origin::Device, "HTTP status 401 Unauthorized"));
        EXPECT_EQ(device.requests().size() - before, rounds);
    }
}

TEST(HttpDigest, ADeviceThatHasForgottenItsNonceIsAskedAgain) {
    SDigestDevice state; // says nothing of staleness, as after a restart
    const CScriptedServer device([&](const SSentRequest& request) { return state(request); });
    std::string response;
    ASSERT_THAT(Get(device.address(), response), IsSuccess());
    state.nonce = "nonce2";
    EXPECT_THAT(Get(device.address(), response), IsSuccess());
    ASSERT_THAT(Get(device.address(), response), IsSuccess());
    EXPECT_EQ(device.requests().size(), 6U);
}

TEST(HttpDigest, WrongCredentialsAreRefusedAndRightOnesThenWorkAtOnce) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        const bool right = request.header("Authorization").find("Basic YWRtaW46cmlnaHQ=") == 0; // admin:right
        return {right ? HttpReply(200, "let in") : Challenge("Basic")};
    });
    std::string response = "untouched";
    EXPECT_THAT(Get(device.address(), response, "/", "wrong"),
                IsError(RtnCode::AuthenticationFailed, Origin::Device, "HTTP status 401 Unauthorized"));
    EXPECT_EQ(response, "untouched");
    EXPECT_THAT(Get(device.address(), response, "/", "right"), IsSuccess());
    EXPECT_THAT(Get(device.address(), response, "/", "wrong"),
                IsError(RtnCode::AuthenticationFailed, Origin::Device, "401"));
}

TEST(HttpDigest, TheSchemeThatIsAskedForIsTheOnlyOneUsed) {
    for (const std::string offered : {"Basic", "Digest"}) {
        const CScriptedServer device([&offered](const SSentRequest& request) -> SScriptedReply {
            const bool isUsed = request.header("Authorization").find(offered) == 0;
            return {isUsed ? HttpReply(200, "") : Challenge(offered, offered == "Basic" ? "" : "n")};
        });
        for (const auto& [asked, used] : {std::pair<const char*, std::string>{"BASIC", "Basic"},
                                          {"DIGEST", "Digest"},
                                          {"ANY", offered}}) {
            std::string response;
            EXPECT_EQ(vorn_utility::v1_0::CVornCgiLib::vornCgiGetRawResponse(
                          UrlOf("/"), device.address(), "admin", "secret", response, 60, asked)
                          .getCode(),
                      used == offered ? 1 : 10)
                << asked << " of " << offered;
        }
    }
    std::string response;
    EXPECT_THAT(vorn_utility::v1_0::CVornCgiLib::vornCgiGetRawResponse(UrlOf("/"), UnusedAddress(), "admin",
                                                                       "secret", response, 60, "NTLM"),
                IsError(RtnCode::NotAccessible, Origin::Device, "unknown authentication scheme \"NTLM\""));
}

// NTLM and Negotiate would give a stranger something to find the password out with.
TEST(HttpDigest, OnlyDigestAndBasicAreSpoken) {
    for (const std::string offered : {"NTLM", "Negotiate", "Bearer", "NTLM\r\nWWW-Authenticate: Negotiate"}) {
        const CScriptedServer device([&](const SSentRequest&) -> SScriptedReply {
            return {HttpReply(401, "", "WWW-Authenticate: " + offered + "\r\n")};
        });
        std::string response;
        EXPECT_THAT(Get(device.address(), response),
                    IsError(RtnCode::AuthenticationFailed, Origin::Device, "HTTP status 401 Unauthorized"));
        EXPECT_EQ(device.requests().size(), 1U) << offered;
        EXPECT_EQ(device.requests()[0].header("Authorization"), "");
    }
    // Beside them Digest is still taken.
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        if (request.header("Authorization").find("Digest ") == 0)
            return {HttpReply(200, "let in")};
        return {HttpReply(401, "",
                          "WWW-Authenticate: Negotiate\r\nWWW-Authenticate: NTLM\r\n"
                          "WWW-Authenticate: Digest realm=\"camera\", nonce=\"n\", qop=\"auth\"\r\n")};
    });
    std::string response;
    EXPECT_THAT(Get(device.address(), response), IsSuccess());
}

TEST(HttpDigest, APostArrivesWholeThroughTheChallenge) {
    SDigestDevice state;
    const CScriptedServer device([&](const SSentRequest& request) { return state(request); });
    // Long enough for libcurl to ask first, if it were let.
    const std::string body = "text=" + std::string(2'000'000, 'x');
    CHttpInterface client("admin", "secret");
    ASSERT_EQ(client.Initialize(), 0);
    EXPECT_EQ(client.SetContent(body, "http://" + device.address() + "/cgi-bin/set"), 200);
    const SSentRequest last = device.requests().back();
    EXPECT_EQ(last.method, "POST");
    EXPECT_EQ(last.target, "/cgi-bin/set");
    EXPECT_EQ(last.body, body);
    EXPECT_EQ(last.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(last.header("Expect"), "");
}

TEST(HttpDigest, ThreadsShareADeviceAndLeaveTwoConnections) {
    const CScriptedServer device([](const SSentRequest& request) -> SScriptedReply {
        const bool in = request.header("Authorization").find("nonce=\"n\"") != std::string::npos;
        return {in ? HttpReply(200, request.target) : Challenge("Digest", "n")};
    });
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&device, path = "/of/" + std::to_string(i)] {
            for (int n = 0; n < 20; ++n) {
                std::string response;
                EXPECT_THAT(Get(device.address(), response, path), IsSuccess());
                EXPECT_EQ(response, path);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(device.waitForOpenConnections(2));
}

} // namespace
} // namespace corvane::tests
