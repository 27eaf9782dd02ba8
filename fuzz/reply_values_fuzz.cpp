// What the framework makes of a device's reply and of a URL, without a network: the exchange is answered
// here.
//
// Input: the delimiters, to which the line end is added; the keys with blanks between them; the URL of a
// POST; the reply: each but the last ended by a line end.

#include "fuzz/harness.h"
#include "host/camera.h"
#include "host/cgi.h"
#include "refhost/http/http_client.h"

using namespace corvane;
using device_handler::v1_0::SVornUrl;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_utility::v1_0::CHttpInterface;
using vorn_utility::v1_0::CVornCgiLib;

namespace {

std::string nextReply;
refhost::SHttpRequest lastRequest;

std::vector<std::string> PiecesOf(const std::string& reply, const std::string& delimiters) {
    std::vector<std::string> pieces{""};
    for (const char character : reply) {
        if (delimiters.find(character) != std::string::npos)
            pieces.emplace_back();
        else
            pieces.back() += character;
    }
    return pieces;
}

std::string ValueBehind(const std::string& key, const std::vector<std::string>& pieces) {
    for (const std::string& piece : pieces)
        if (!piece.empty() && piece.compare(0, key.size(), key) == 0)
            return piece.substr(key.size());
    return {};
}

void RequireQueryResult(const std::vector<std::string>& keys, const std::string& delimiters) {
    std::vector<std::string> expected;
    for (const std::string& key : keys)
        expected.push_back(ValueBehind(key, PiecesOf(nextReply, delimiters)));
    SVornUrl url;
    url.protocol = "http";
    url.queryKeys = keys;
    std::vector<std::string> values;
    const bool failed(
        CVornCgiLib::vornCgiGetQueryResult(url, "camera", "", "", values, 1, delimiters, "ANY"));
    fuzz::Require(!failed && values == expected, "the first piece that begins with the key holds its value");
}

void RequireSingleValue(const std::string& key, const std::string& delimiters) {
    std::string expected;
    const std::size_t at = nextReply.find(key);
    if (at != std::string::npos)
        expected = PiecesOf(nextReply.substr(at + key.size()), delimiters).front();
    SVornUrl url;
    url.protocol = "http";
    url.replyKey = key;
    std::string value = "an older value";
    const bool failed(CVornCamera::getCamSingleValue("camera", url, "", "", value, delimiters, "ANY"));
    fuzz::Require(!failed && value == expected, "a single value stands behind its key");
}

void RequirePost(const std::string& url) {
    CHttpInterface client("", "");
    client.Initialize();
    lastRequest = {};
    if (client.SetContent("body", url) <= 99)
        return;
    fuzz::Require(lastRequest.path.front() == '/', "a path begins with a slash");
    fuzz::Require(lastRequest.address.find_first_of("/?") == std::string::npos, "an address holds no path");
}

} // namespace

// Stands before the framework's own, which would ask the device.
refhost::SHttpReply refhost::ExchangeHttp(const SHttpRequest& request) {
    lastRequest = request;
    SHttpReply reply;
    reply.status = 200;
    reply.body = nextReply;
    return reply;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    nextReply = fuzz::InputText(data, size);
    std::string delimiters = fuzz::TakeLine(nextReply);
    if (!delimiters.empty())
        delimiters += '\n'; // which the line cannot hold
    const std::vector<std::string> keys = fuzz::Split(fuzz::TakeLine(nextReply), ' ');
    const std::string url = fuzz::TakeLine(nextReply);
    RequireQueryResult(keys, delimiters);
    if (!keys.empty())
        RequireSingleValue(keys.front(), delimiters);
    RequirePost(url);
    return 0;
}
