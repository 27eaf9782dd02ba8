// What a hostile camera can do to whoever asks it over HTTP.

#include "tests/hostile/hostile_camera.h"

namespace corvane::hostile_test {
namespace {

using namespace std::chrono_literals;

const std::string Ok = "HTTP/1.1 200 OK\r\n";
const std::string Chunked = Ok + "Transfer-Encoding: chunked\r\n\r\n";
const std::string Challenge = "HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\nWWW-Authenticate: ";
const std::string Redirect = "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: ";

constexpr const char* Settings = "GET /cgi-bin/setdata";
constexpr const char* Identity = "GET /cgi-bin/getinfo";
constexpr const char* Capability = "GET /cgi-bin/get_capability";
constexpr const char* Write = "POST /cgi-bin/";
constexpr const char* Monitor = "GET /cgi-bin/get_io";

const std::vector<std::string> Show = {"--model", "F320", "show", "ADDRESS"};
const std::vector<std::string> Identify = {"identify", "ADDRESS"};
const std::vector<std::string> Events = {"--model", "F320", "events", "ADDRESS", "--input", "0"};

const std::vector<std::string> ShowJson = {"--json", "--model", "F320", "show", "ADDRESS"};

std::string Repeated(const std::string& text, int times) {
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}
SScriptedReply Whole(const std::string& body) {
    return {Ok + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body};
}

const SAttack Attacks[] = {
    // More than anybody keeps.
    {"EndlessHeader", Show, Settings, Endless(Ok, Filler), 4, 1, "header is larger than 256 KiB"},
    {"EndlessHeaderLine", Show, Settings, Endless(Ok + "X: ", std::string(1'000, 'x')), 4, 1, ""},
    {"EndlessStatusLine", Show, Settings, Endless("HTTP/1.1 200 ", "x"), 4, 1, ""},
    {"EndlessInterimReplies", Show, Settings, Endless("", "HTTP/1.1 100 Continue\r\n\r\n"), 4, 1, "header"},
    {"EndlessBody", Show, Settings, Endless(Ok + "\r\n", Filler), 4, 1, "larger"},
    {"EndlessChunks", Show, Settings, Endless(Chunked, "400\r\n" + std::string(0x400, 'x') + "\r\n"), 4, 1,
     "larger"},
    {"EndlessChunkSize", Show, Settings, Endless(Chunked, "0"), 4, 1, ""},
    {"EndlessChunkExtension", Show, Settings, Endless(Chunked + "1;", std::string(1'000, 'x')), 4, 1,
     "larger"},
    {"EndlessPageBehindAChallenge", Show, Settings,
     Endless("HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"x\", nonce=\"n\"\r\n\r\n",
             Filler),
     4, 1, "larger"},
    {"Packed", Show, Settings, Endless(Ok + "transfer-Encoding: gzip, chunked\r\n\r\n", Filler), 4, 1,
     "packed"},
    {"EndlessTrailer", Show, Settings, Endless(Chunked + "1\r\nx\r\n0\r\n", Filler), 4, 1, "header"},
    {"EndlessTrailerOfAnIdentity", Identify, Identity, Endless(Chunked + "1\r\nx\r\n0\r\n", Filler), 4, 1,
     "header"},
    {"EndlessTrailerOfACapability", Show, Capability, Endless(Chunked + "1\r\nx\r\n0\r\n", Filler), 4, 3,
     "header"},
    {"EndlessAnswerToAMove",
     {"--model", "D850", "call", "ADDRESS", "setPtzPresetPos", "0", "1"},
     "GET /cgi-bin/camposiset",
     Endless(Ok + "\r\n", Filler),
     2,
     1,
     "larger"},
    {"EndlessAnswerToAWrite",
     {"--model", "F320", "call", "ADDRESS", "setVpaBrightness", "0", "10"},
     Write,
     Endless(Ok + "\r\n", Filler),
     2,
     1,
     "larger"},
    {"LongList", ShowJson, Capability, Whole("\r\nvideo_server.image.mode=" + Repeated("a,", 200'000)), 4, 1,
     "problem"},
    {"LongTitle", Show, Settings, Whole("\r\nCAMTITLE,\"" + Repeated("x", 3'000'000) + "\"\r\n"), 4, 1,
     "xxxxx"},
    {"LongTitleOfControls", Show, Settings, Whole("\r\nCAMTITLE,\"" + Repeated("\x01", 3'000'000) + "\"\r\n"),
     4, 1, "title"},
    {"HugeLength",
     Identify,
     Identity,
     {Ok + "Content-Length: 9223372036854775807\r\n\r\nx", SScriptedReply::Stall},
     4,
     1,
     ""},
    {"EndlessMonitorHeader", Events, Monitor, Endless(Ok, Filler), 6, 1, "header is larger than 256 KiB"},
    {"EndlessMonitorLine",
     {"--model", "F320", "events", "ADDRESS", "--input", "0", "--seconds", "3"},
     Monitor,
     Endless(Ok + "\r\n", std::string(1'000, 'x')),
     3,
     1,
     "the camera floods whoever listens to it"},
    {"EndlessMonitorTrailer", Events, Monitor, Endless(Chunked + "1\r\nx\r\n0\r\n", Filler), 6, 1,
     "header is larger than 256 KiB"},

    // Others, whom a password could be told.
    {"Redirected", Show, Settings, {Redirect + "http://THIRD/\r\n\r\n"}, 4, 1, "HTTP status 302"},
    {"RedirectedToItself",
     Show,
     Settings,
     {Redirect + "http://ADDRESS/cgi-bin/setdata\r\n\r\n"},
     4,
     1,
     "HTTP status 302"},
    {"RedirectedMonitor", Events, Monitor, {Redirect + "http://THIRD/\r\n\r\n"}, 4, 1, ""},
    {"RedirectedIdentity", Identify, Identity, {Redirect + "//THIRD/\r\n\r\n"}, 4, 1, "HTTP status 302"},

    // Asking without an end, and for more than the password's digest.
    {"StaleForEver",
     Show,
     Settings,
     {Challenge + "Digest realm=\"x\", nonce=\"n\", stale=true, qop=\"auth\"\r\n\r\n"},
     6,
     1,
     "401"},
    {"StaleForEverAtTheMonitor",
     Events,
     Monitor,
     {Challenge + "Digest realm=\"x\", nonce=\"n\", stale=true, qop=\"auth\"\r\n\r\n"},
     9,
     1,
     "401"},
    {"OtherSchemes",
     Show,
     Settings,
     {Challenge + "NTLM\r\nWWW-Authenticate: Negotiate\r\n\r\n"},
     4,
     1,
     "401"},
    {"BasicAloneWhereDigestIsWanted",
     {"--digest-only", "--model", "F320", "show", "ADDRESS"},
     "GET /cgi-bin/",
     {Challenge + "Basic realm=\"x\"\r\n\r\n"},
     9,
     3,
     "Basic authentication alone"},
    {"BasicAloneAtTheMonitor",
     {"--digest-only", "--model", "F320", "events", "ADDRESS", "--input", "0"},
     Monitor,
     {Challenge + "Basic realm=\"x\"\r\n\r\n"},
     3,
     1,
     ""},
    {"OtherSchemesAtTheMonitor",
     Events,
     Monitor,
     {Challenge + "NTLM\r\nWWW-Authenticate: Negotiate\r\n\r\n"},
     4,
     1,
     "401"},

    // Answers that come byte by byte, which nobody who wants to stop waits for.
    {"TricklingSettings", Show, Settings, Endless(Ok + Filler, "x", 200ms), 4, -2, "", true},
    {"TricklingIdentity", Identify, Identity, Endless(Ok + Filler, "x", 200ms), 4, -2, "", true},
    {"TricklingMonitor", Events, Monitor, Endless(Ok + Filler, "x", 200ms), 4, 0, "", true},
    {"TricklingStartOfARecording",
     {"--model", "F320", "record", "ADDRESS", "--stream", "0,h264,0", "--output", "FILE"},
     Settings,
     Endless(Ok + Filler, "x", 200ms),
     4,
     0,
     "",
     true},
};

class HostileHttp : public testing::TestWithParam<SAttack> {};
TEST_P(HostileHttp, HurtsNobody) {
    ExpectHarmless(GetParam());
}
INSTANTIATE_TEST_SUITE_P(Attack, HostileHttp, testing::ValuesIn(Attacks), NameOf);

TEST(HostileHttp, NoRedirectIsFollowed) {
    for (const char* status : {"300", "301", "302", "303", "305", "307", "308"})
        for (const auto& [verb, path] : {std::pair(Show, Settings), {Events, Monitor}})
            ExpectHarmless({"Redirect",
                            verb,
                            path,
                            {std::string("HTTP/1.1 ") + status +
                             " Elsewhere\r\nContent-Length: 0\r\nLocation: http://THIRD/\r\n"
                             "Refresh: 0; url=http://THIRD/\r\n\r\n"},
                            4,
                            1,
                            ""});
}

} // namespace
} // namespace corvane::hostile_test
