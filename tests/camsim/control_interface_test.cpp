// Whom the control interface answers, and how much of what it is sent it takes.

#include "raw_connection.h"
#include "tests/support/camsim_process.h"

#include <gmock/gmock.h>

namespace {

using camsim_test::CRawConnection;
using corvane::test_support::CCamsim;
using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

const std::string JsonType = "Content-Type: application/json\r\n";
const std::string AnyFault = R"({"path": "/x", "kind": "empty"})";

std::string LengthOf(const std::string& body) {
    return "Content-Length: " + std::to_string(body.size()) + "\r\n";
}

class ControlInterface : public testing::Test {
protected:
    // The reply's header and body.
    std::string ask(const std::string& requestLine, const std::string& headers,
                    const std::string& body = "") {
        CRawConnection connection(camsim_.controlAddress());
        connection.send(requestLine + " HTTP/1.1\r\nConnection: close\r\n" + headers + "\r\n" + body);
        return connection.receive();
    }
    int status(const std::string& requestLine, const std::string& headers, const std::string& body = "") {
        return std::stoi("0" + ask(requestLine, headers, body).substr(9, 3));
    }
    int post(const json& fault) {
        const std::string body = fault.dump();
        return status("POST /faults", "Host: localhost\r\n" + JsonType + LengthOf(body), body);
    }

    // Nothing is ended for the time that it takes.
    CCamsim camsim_{{"--no-rtsp", "--connection-times", "86400000", "86400000", "86400000", "86400000"}};
};

TEST_F(ControlInterface, AnswersToTheNamesOfThisMachineAlone) {
    for (const std::string host :
         {"localhost", "LocalHost:8081", "127.0.0.1", "127.7.8.9:1", "[::1]", "[::1]:65535"})
        EXPECT_EQ(status("GET /faults", "Host: " + host + "\r\n"), 200) << host;
    EXPECT_EQ(status("GET /faults", "Host: " + camsim_.controlAddress() + "\r\n"), 200);
    for (const std::string host :
         {"evil.example", "evil.example:8081", "localhost.evil.example", "127.0.0.1.evil.example", "10.0.0.1",
          "[::2]", "[::1", "localhost:x", "127.0.0.1:65536", ""})
        EXPECT_EQ(status("GET /faults", "Host: " + host + "\r\n"), 403) << host;
    EXPECT_EQ(status("GET /faults", "Host: localhost\r\nHost: evil.example\r\n"), 403);
    EXPECT_THAT(ask("GET /faults", "Host: evil.example\r\n"),
                HasSubstr("Host: expected localhost or a loopback address"));
}

TEST_F(ControlInterface, TakesNoChangeThatAWebPageCouldSend) {
    struct SRow {
        const char* request;
        std::string headers;
        int status;
    };
    const SRow rows[] = {
        {"POST /faults", "", 415},
        {"POST /faults", "Content-Type: text/plain\r\n", 415},
        {"POST /faults", "Content-Type: application/x-www-form-urlencoded\r\n", 415},
        {"POST /faults", "Content-Type: application/jsonp\r\n", 415},
        {"POST /faults", JsonType + "Origin: http://evil.example\r\n", 403},
        {"POST /faults", JsonType + "Origin: null\r\n", 403},
        {"POST /faults", JsonType + "Origin: http://localhost:3000\r\n", 403},
        {"POST /faults", JsonType + "Origin: https://localhost:8081\r\n", 403},
        {"PATCH /cameras/0/settings", "Content-Type: text/plain\r\n", 415},
        {"PATCH /cameras/0/settings", JsonType + "Origin: http://evil.example\r\n", 403},
        {"POST /cameras/0/reboot", "", 415},
        {"DELETE /requests", "Origin: http://evil.example\r\n", 403},
    };
    for (const SRow& row : rows)
        EXPECT_EQ(
            status(row.request, "Host: localhost:8081\r\n" + row.headers + LengthOf(AnyFault), AnyFault),
            row.status)
            << row.request << " " << row.headers;
    EXPECT_EQ(camsim_.get("/faults").at("faults"), json::array());
    EXPECT_EQ(camsim_.get("/cameras/0").at("away"), false);
    EXPECT_THAT(ask("POST /faults", "Host: localhost\r\n"),
                HasSubstr("send the header Content-Type: application/json"));
}

TEST_F(ControlInterface, TakesChangesAsJsonAndFromItsOwnOrigin) {
    for (const std::string headers :
         {"Content-Type: application/json\r\n", "content-type: Application/JSON; charset=utf-8\r\n",
          "Content-Type: application/json\r\nOrigin: http://localhost:8081\r\n"})
        EXPECT_EQ(status("POST /faults", "Host: localhost:8081\r\n" + headers + LengthOf(AnyFault), AnyFault),
                  200)
            << headers;
    EXPECT_EQ(camsim_.get("/faults").at("faults").size(), 3U);
    EXPECT_EQ(status("DELETE /faults", "Host: localhost:8081\r\nOrigin: http://localhost:8081\r\n"), 200);
    EXPECT_EQ(camsim_.get("/faults").at("faults"), json::array());
}

TEST_F(ControlInterface, TakesBodiesOfAMebibyteAndAnswersLongerOnes413) {
    const std::string headers = "Host: localhost\r\n" + JsonType;
    std::string body = AnyFault;
    body.resize(1024 * 1024, ' ');
    EXPECT_EQ(status("POST /faults", headers + LengthOf(body), body), 200);
    body += ' ';
    EXPECT_THAT(ask("POST /faults", headers + LengthOf(body), "{"), StartsWith("HTTP/1.1 413"));
    CRawConnection endless(camsim_.controlAddress());
    endless.send("POST /faults HTTP/1.1\r\n" + headers + "Transfer-Encoding: chunked\r\n\r\n");
    EXPECT_TRUE(endless.endsWhileSending("10000\r\n" + std::string(0x10000, ' ') + "\r\n"));
    EXPECT_EQ(camsim_.get("/faults").at("faults").size(), 1U);
}

TEST_F(ControlInterface, RefusesJsonThatIsNestedWithoutEnd) {
    const int depth = 100'000;
    for (const std::string& body :
         {std::string(depth, '['),
          R"({"path": "/x", "kind": )" + std::string(depth, '[') + std::string(depth, ']') + "}"}) {
        const std::string reply =
            ask("POST /faults", "Host: localhost\r\n" + JsonType + LengthOf(body), body);
        EXPECT_THAT(reply, StartsWith("HTTP/1.1 400"));
        EXPECT_THAT(reply, HasSubstr("nested deeper than 16 levels"));
    }
}

TEST_F(ControlInterface, RefusesFaultsWhoseMembersAreOutOfRange) {
    const json rows[] = {
        {{"kind", "delay"}, {"ms", -1}},
        {{"kind", "delay"}, {"ms", 86'400'001}},
        {{"kind", "delay"}, {"ms", 1e30}},
        {{"kind", "delay"}, {"ms", UINT64_MAX}},
        {{"kind", "status"}, {"status", 199}},
        {{"kind", "status"}, {"status", 600}},
        {{"kind", "status"}, {"status", INT64_MIN}},
        {{"kind", "cut"}, {"bytes", 64 * 1024 * 1024 + 1}},
        {{"kind", "body"}, {"size", 1.5}},
        {{"kind", "garbage"}, {"size", 65'537}},
        {{"kind", "empty"}, {"camera", 1}},
        {{"kind", "empty"}, {"camera", INT64_MAX}},
        {{"kind", "empty"}, {"count", 0}},
        {{"kind", "empty"}, {"skip", -2}},
        {{"kind", "empty"}, {"path", std::string(1025, '*')}},
        {{"kind", "empty"}, {"every", 0}},
        {{"kind", "empty"}, {"written", 1}},
        {{"kind", "clock"}},
        {{"kind", "clock"}, {"seconds", 1}, {"body", "x"}},
        {{"kind", "clock"}, {"seconds", -4'000'000'000}},
        {{"kind", "clock"}, {"body", "a\nb"}},
        {{"kind", "status"}, {"status", 302}, {"location", "/x\r\nSet-Cookie: a"}},
        {{"kind", "status"}, {"status", 401}, {"challenge", std::string("a\0b", 3)}},
        {{"kind", "swap"}, {"model", "F321"}},
        {{"kind", "trickle"}, {"bytes", 1}},
        {{"kind", "garbage"}, {"size", 1}, {"body", "x"}},
        {{"kind", "garbage"}, {"body", std::string(65'537, 'x')}},
        {{"kind", "header"}, {"size", 1024 * 1024 + 1}},
    };
    for (json row : rows) {
        row.emplace("path", "/x");
        EXPECT_EQ(post(row), 400) << row.dump().substr(0, 100);
    }
}

TEST_F(ControlInterface, KeepsThousandsOfFaultsAndForgetsSpentOnesForMore) {
    const json spent{{"path", "/*"}, {"kind", "empty"}, {"count", 1}, {"unauthorized", true}};
    ASSERT_EQ(post(spent), 200);
    CRawConnection camera(camsim_.address());
    camera.send("GET / HTTP/1.0\r\n\r\n");
    camera.receive();
    for (int i = 0; i < 4000; ++i)
        ASSERT_EQ(post(json::parse(AnyFault)), 200) << i;
    EXPECT_EQ(post(json::parse(AnyFault)), 400);
    const json faults = camsim_.get("/faults").at("faults");
    EXPECT_EQ(faults.size(), 4000U);
    EXPECT_EQ(faults.front().at("id"), 2);
}

TEST_F(ControlInterface, BoundsTheBodiesOfAllFaultsTogether) {
    const json large{
        {"path", "/*"}, {"kind", "body"}, {"body", std::string(1'000'000, 'x')}, {"unauthorized", true}};
    json once = large;
    once["count"] = 1;
    ASSERT_EQ(post(once), 200);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(post(large), 200) << i;
    EXPECT_EQ(post(large), 400);
    EXPECT_EQ(post(json::parse(AnyFault)), 200);
    CRawConnection camera(camsim_.address());
    camera.send("GET / HTTP/1.0\r\n\r\n");
    camera.receive();
    EXPECT_EQ(post(large), 200); // for the one that is spent
    EXPECT_EQ(camsim_.get("/faults").at("faults").size(), 5U);
}

TEST_F(ControlInterface, BoundsTheSettingsOfACamera) {
    json tooMany = json::object();
    for (int i = 0; i < 5000; ++i)
        tooMany["KEY" + std::to_string(i)] = "1";
    EXPECT_THROW(camsim_.patch("/cameras/0/settings", tooMany), std::runtime_error);
    EXPECT_THROW(camsim_.patch("/cameras/0/settings", {{"KEY", std::string(4097, 'x')}}), std::runtime_error);
    EXPECT_EQ(camsim_.get("/cameras/0/settings").count("KEY"), 0U);
    EXPECT_EQ(camsim_.get("/cameras/0/settings").count("KEY0"), 0U);
    EXPECT_EQ(camsim_.patch("/cameras/0/settings", {{"KEY", std::string(4096, 'x')}})
                  .at("KEY")
                  .get<std::string>()
                  .size(),
              4096U);
}

} // namespace
