// Faults of whole ports: what a client meets there, and that it finds the camera again without them.

#include "fault_walk.h"
#include "raw_connection.h"
#include "tests/support/wait_until.h"

#include <gmock/gmock.h>

namespace {

using camsim_test::Ask;
using camsim_test::CRawConnection;
using camsim_test::SAsked;
using corvane::test_support::CCamsim;
using corvane::test_support::WaitUntil;

using nlohmann::json;
using testing::StartsWith;

const std::string Options = "OPTIONS * RTSP/1.0\r\nCSeq: 1\r\n\r\n";

// What comes from the port until the connection ends, or "refused".
std::string SaidBy(const std::string& address, const std::string& asked) {
    try {
        CRawConnection connection(address);
        connection.send(asked);
        return connection.receive();
    } catch (const std::exception& error) {
        return std::string(error.what()).find("refused") != std::string::npos ? "refused" : error.what();
    }
}

TEST(FaultsOfPorts, AreMetOnTheRtspPort) {
    const CCamsim camsim;
    const auto said = [&](const char* name) {
        camsim.post("/faults", {{"name", name}});
        const std::string text = SaidBy(camsim.rtspAddress(), Options);
        camsim.erase("/faults");
        return text;
    };
    EXPECT_EQ(said("rtsp-refused"), "refused");
    EXPECT_EQ(said("rtsp-other-port"), "refused");
    EXPECT_THAT(said("rtsp-http"), StartsWith("HTTP/1.1 400"));
    EXPECT_EQ(said("rtsp-garbage").size(), 64U);
    EXPECT_EQ(said("rtsp-closed"), "");
    EXPECT_EQ(said("rtsp-reset"), "");

    const json before = camsim.get("/cameras/0").at("faults");
    camsim.post("/faults", {{"name", "rtsp-silent"}});
    CRawConnection silent(camsim.rtspAddress());
    silent.send(Options);
    ASSERT_TRUE(WaitUntil([&] { return camsim.get("/cameras/0").at("faults") != before; })); // accepted
    camsim.erase("/faults");
    CRawConnection sound(camsim.rtspAddress());
    sound.send(Options);
    EXPECT_THAT(sound.receive("\r\n\r\n"), StartsWith("RTSP/1.0 200"));
    silent.finishSending();
    EXPECT_EQ(silent.receive(), "");
}

TEST(FaultsOfPorts, EndTheConnectionsThatAreOpen) {
    const CCamsim camsim({"--auth", "none", "--count", "2", "--connection-times", "86400000", "86400000",
                          "86400000", "86400000"}); // nothing is ended for the time that it takes
    for (const auto& [port, address] :
         {std::pair{"web-port", camsim.address()}, {"rtsp-port", camsim.rtspAddress()}}) {
        CRawConnection connection(address);
        connection.send(port == std::string("web-port") ? "GET /cgi-bin/getinfo HTTP/1.1\r\nHost: x\r\n\r\n"
                                                        : Options);
        connection.receive("\r\n\r\n");
        camsim.post("/faults", {{"path", port}, {"kind", "stall"}, {"camera", 0}});
        connection.receive(); // to its end
    }
    EXPECT_EQ(Ask(camsim.addresses()[1], {"/cgi-bin/getinfo", ""}).status, 200); // is another camera's
}

TEST(FaultsOfPorts, AreThereFromTheStartAndThroughARestart) {
    const CCamsim camsim({"--no-rtsp", "--fault", "web-refused", "--reboot-seconds", "0"});
    const SAsked asked{"/cgi-bin/getinfo", ""};
    EXPECT_EQ(Ask(camsim.address(), asked).code, CURLE_COULDNT_CONNECT);
    camsim.post("/cameras/0/reboot", json::object());
    ASSERT_TRUE(WaitUntil([&] { return camsim.get("/cameras/0").at("away") == false; }));
    EXPECT_EQ(Ask(camsim.address(), asked).code, CURLE_COULDNT_CONNECT);
    camsim.erase("/faults?name=web-refused");
    EXPECT_EQ(Ask(camsim.address(), asked).status, 200);
}

TEST(FaultsOfPorts, SpeakTlsToWhoeverDoesAndAlertOthers) {
    const CCamsim camsim({"--no-rtsp", "--fault", "web-tls"});
    const std::string alert = SaidBy(camsim.address(), "GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_THAT(alert, StartsWith("\x15\x03")); // a record of TLS that holds an alert
    EXPECT_EQ(alert.size(), 7U);

    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    curl_easy_setopt(curl.get(), CURLOPT_URL, ("https://" + camsim.address() + "/").c_str());
    curl_easy_setopt(curl.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 60L);
    curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(curl.get(), CURLOPT_SSL_VERIFYHOST, 0L);
    const CURLcode code = curl_easy_perform(curl.get());
    curl_off_t handshake = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_APPCONNECT_TIME_T, &handshake);
    EXPECT_GT(handshake, 0) << curl_easy_strerror(code); // it succeeded
    EXPECT_NE(code, CURLE_OK);                           // and nothing follows
}

TEST(FaultsOfPorts, TakeNoOtherKindsAndNoCounting) {
    const CCamsim camsim({"--no-rtsp"});
    for (const json& bad : {json{{"path", "web-port"}, {"kind", "empty"}},
                            {{"path", "rtsp-port"}, {"kind", "silence"}},
                            {{"path", "/*"}, {"kind", "tls"}},
                            {{"path", "web-port"}, {"kind", "refuse"}, {"count", 1}}})
        EXPECT_THROW(camsim.post("/faults", bad), std::runtime_error) << bad;
    camsim.post("/faults", {{"path", "*"}, {"kind", "drop"}}); // stands for paths, and for no port
    EXPECT_EQ(Ask(camsim.address(), {"/cgi-bin/getinfo", ""}).status, 401);
}

} // namespace
