// A device's HTTP reply as a whole, from its status line to its trailer, through the framework's client.
//
// Input: a byte whose lowest bit chooses GET or POST, then what the device sends on each connection.

#include "fuzz/harness.h"
#include "fuzz/one_reply_server.h"
#include "refhost/http/http_client.h"

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::COneReplyServer& device = *new fuzz::COneReplyServer;
    if (size == 0)
        return 0;
    device.answerWith(fuzz::InputText(data + 1, size - 1));
    refhost::SHttpRequest request;
    request.address = device.address();
    request.path = "/cgi-bin/setdata";
    request.user = "admin";
    request.password = "12345";
    request.authScheme = "ANY";
    request.timeout = 4;
    if (data[0] % 2 != 0)
        request.form = "a=1";
    const refhost::SHttpReply reply = refhost::ExchangeHttp(request);
    constexpr int Ok = 200;
    fuzz::Require((reply.status == Ok) == reply.failure.empty(), "a failure says why, and a success nothing");
    fuzz::Require(reply.body.size() <= size, "a body is no larger than what was sent");
    fuzz::Require(reply.status == 0 || (reply.status >= 100 && reply.status < 1000),
                  "a status has three digits");
    return 0;
}
