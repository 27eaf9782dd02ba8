// What bad input gets: an answer that says so, or a closed connection; and others are served.

#include "tests/service/served_site.h"

#include <gmock/gmock.h>

#include <csignal>
#include <sys/resource.h>

namespace corvane::service_test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

class ServiceBadInput : public testing::Test {
public:
    // What answers the bytes, with everything behind it, once the service has closed the connection.
    std::string answerTo(const std::string& bytes) const {
        CRawConnection connection(site.address);
        connection.write(bytes);
        return connection.readToEnd();
    }
    std::string requestLine(const std::string& line, const std::string& headers = "") const {
        return line + " HTTP/1.1\r\nHost: " + site.address + "\r\nAuthorization: Bearer " + site.admin +
               "\r\nConnection: close\r\n" + headers + "\r\n";
    }
    void expectServed() const {
        EXPECT_EQ(site.client(site.view).get("/api/v1/cameras/c0/requests").status, 200);
    }

    const CServedSite site{{"--no-rtsp"}};
};

TEST_F(ServiceBadInput, BodiesThatAreTooLarge) {
    const CHttpClient client = site.client(site.admin);
    const std::string calls = "/api/v1/cameras/c0/calls";
    const Headers json{"Content-Type: application/json"};
    const SReply large = client.ask("POST", calls, std::string(300'000, ' ') + "{}", json);
    EXPECT_EQ(large.status, 413);
    EXPECT_EQ(large.header("content-type"), "application/problem+json");
    EXPECT_EQ(large.object().at("problem"), (nlohmann::json{{"cause", "wrong-usage"},
                                                            {"certain", true},
                                                            {"asked", "POST " + calls},
                                                            {"answered", large.object().at("detail")},
                                                            {"try", "send less"}}));
    EXPECT_EQ(client.ask("POST", calls, std::string(200'000, ' ') + "{}", json).status, 400);
    CRawConnection huge(site.address);
    huge.write(
        requestLine("POST " + calls, "Content-Type: application/json\r\nContent-Length: 10485760\r\n"));
    huge.write(std::string(10 * 1024 * 1024, '{'));
    EXPECT_THAT(huge.readToEnd(), AnyOf("", StartsWith("HTTP/1.1 413")));
    expectServed();
    EXPECT_EQ(client.ask("POST", calls, std::string(100'000, '['), json).status, 400);
    EXPECT_EQ(
        client
            .ask("POST", calls, "{\"operation\":" + std::string(100, '[') + std::string(100, ']') + "}", json)
            .status,
        400);
    expectServed();
}

TEST_F(ServiceBadInput, HeadersThatAreTooLargeOrStandTwice) {
    EXPECT_THAT(
        answerTo(requestLine("GET /api/v1/cameras", "X-Much: " + std::string(1'000'000, 'x') + "\r\n")),
        AnyOf("", StartsWith("HTTP/1.1 431")));
    EXPECT_THAT(answerTo(requestLine("GET /api/v1/cameras?" + std::string(1'000'000, 'x'))),
                AnyOf("", StartsWith("HTTP/1.1 414")));
    EXPECT_THAT(answerTo(requestLine("GET /api/v1/cameras", "Host: localhost\r\n")),
                StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(answerTo(requestLine("GET /api/v1/cameras", "Authorization: Bearer x\r\n")),
                StartsWith("HTTP/1.1 400"));
    EXPECT_THAT(answerTo("GET /api/v1/cameras HTTP/1.1\r\nConnection: close\r\nAuthorization: Bearer " +
                         site.admin + "\r\n\r\n"),
                StartsWith("HTTP/1.1 4"));
    for (const char* host : {"evil.example", "127.0.0.1.evil.example", "[::1]", "127.0.0.1@evil.example"})
        EXPECT_EQ(site.client(site.admin).get("/api/v1/cameras", {std::string("Host: ") + host}).status, 421)
            << host;
    EXPECT_EQ(site.client(site.admin).get("/api/v1/cameras", {"Host: LocalHost:1"}).status, 200);
    expectServed();
}

TEST_F(ServiceBadInput, BytesThatAreNoHttp) {
    const std::string post = "POST /api/v1/cameras/c0/calls HTTP/1.1\r\nHost: " + site.address +
                             "\r\nAuthorization: Bearer " + site.admin +
                             "\r\nContent-Type: application/json\r\nConnection: close\r\n";
    const std::string wrong[] = {
        std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11) + std::string(200, '\xaa') +
            "\r\n\r\n",
        "SSH-2.0-Client\r\n\r\n",
        "GET\r\n\r\n",
        "GET /api/v1/cameras\r\n\r\n",
        "GET /api/v1/cameras HTTP/9.9\r\n\r\n",
        "OPTIONS rtsp://x RTSP/1.0\r\nCSeq: 1\r\n\r\n",
        "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n",
        post + "Content-Length: -5\r\n\r\n{}",
        post + "Content-Length: 99999999999999999999999\r\n\r\n{}",
        post + "Transfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n0\r\n\r\n",
        post + "Transfer-Encoding: chunked\r\n\r\nffffffffffffffffff\r\n{}",
        std::string(20'000, '\0') + "\r\n\r\n",
    };
    for (const std::string& bytes : wrong)
        EXPECT_THAT(answerTo(bytes),
                    AnyOf("", StartsWith("HTTP/1.1 4"), StartsWith("HTTP/1.1 505"), StartsWith("HTTP/1.0 4")))
            << bytes.substr(0, 60);
    expectServed();
}

TEST_F(ServiceBadInput, PathsThatLeadElsewhere) {
    for (const char* path : {"/../../../../etc/passwd",
                             "/%2e%2e/%2e%2e/etc/passwd",
                             "/api/v1/cameras/../../../../tokens.json",
                             "/api/v1/cameras/%2e%2e",
                             "/api/v1/cameras/%2e%2e/doctor.tar.gz",
                             "//api/v1/cameras",
                             "/api/v1//cameras",
                             "/api/v1/cameras/",
                             "/api/v1/cameras//requests",
                             "/api/v1/cameras/c0%00",
                             "/api/v1/cameras/c0%00/requests",
                             "/api/v1/cameras/c0/",
                             "/api/v1/cameras/c0%2frequests",
                             "/api/v1/cameras/c0%2Fdoctor.tar.gz",
                             "/api/v1/cameras/c0/requests%00.html",
                             "/api/v1/cameras/%ff",
                             "/api/v1/cameras/%",
                             "/api/v1/cameras/%zz",
                             "/API/v1/cameras",
                             "/api.js/",
                             "/%2e/api.js",
                             "/style.css%00",
                             "/openapi.json",
                             "/tokens.json"})
        EXPECT_THAT(answerTo(requestLine(std::string("GET ") + path)), StartsWith("HTTP/1.1 404")) << path;
    const json problem = site.client(site.view).get("/api/v1/no-such?token=secret").object().at("problem");
    EXPECT_EQ(problem.at("asked"), "GET /api/v1/no-such");
    EXPECT_EQ(site.client("").get("/api.js").status, 200);
    expectServed();
}

TEST_F(ServiceBadInput, IdleAndSlowClientsHoldUpNobody) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    // The service has as many descriptors as this program, and takes half of them for clients.
    const std::size_t most = std::min<std::size_t>(10'000, files.rlim_cur / 2 - 100);
    std::vector<CRawConnection> idle;
    while (idle.size() < most) {
        idle.emplace_back(site.address);
        const std::string parts[] = {"", "GET /api/v1/cam",
                                     requestLine("POST /api/v1/session", "Content-Length: 1000\r\n") + "{"};
        EXPECT_TRUE(idle.back().write(parts[idle.size() % std::size(parts)]));
        if (idle.size() % 1'000 == 0)
            expectServed();
    }
    expectServed();
}

} // namespace
} // namespace corvane::service_test
