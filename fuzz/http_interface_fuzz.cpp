// What the service answers to requests, behind the server that reads them: each is answered once, with a
// status that says whose fault it was, and nobody without a token learns or changes anything.
//
// Input: "METHOD /path?query", header lines, an empty line, the body. "Authorization: Bearer ROLE" has the
// token of the role. The site has one camera, "gate", which nobody has asked yet.

#include "fuzz/harness.h"
#include "fuzz/unasked_site.h"
#include "service/api.h"
#include "site/session/loaded_plugin.h"

#include <future>

using namespace corvane;
using service::SHttpAnswer;
using service::SHttpRequest;

namespace {

constexpr const char* Roles[] = {"view", "operate", "admin"};

// Everything behind the server.
class CServed {
public:
    CServed()
        : files_(site::SharedPath("service"), true),
          access_({tokens(), {"localhost"}, {}, false}),
          api_({unasked_.site,
                unasked_.hub,
                access_,
                files_,
                "yard",
                "1.0",
                unasked_.folder.file("state"),
                {},
                nullptr,
                [this] { unasked_.site.reload(); }}) {}

    SHttpAnswer answer(SHttpRequest request) {
        const auto first = std::make_shared<std::promise<SHttpAnswer>>();
        const auto count = std::make_shared<std::atomic<int>>(0);
        auto answered = first->get_future();
        api_.handle(std::move(request), [first, count](SHttpAnswer answer) {
            fuzz::Require(++*count == 1, "a request is answered once");
            first->set_value(std::move(answer));
        });
        return answered.get();
    }

    // The token of the role; any other text is as good as itself.
    std::string token(const std::string& role) const {
        const auto found = tokens_.find(role);
        return found == tokens_.end() ? role : found->second;
    }

private:
    std::string tokens() {
        const std::string file = unasked_.folder.file("tokens.json");
        for (const char* role : Roles)
            tokens_[role] = service::AddToken(file, role, *service::FindRole(role));
        return file;
    }

    fuzz::CUnaskedSite& unasked_ = fuzz::TheUnaskedSite();
    std::map<std::string, std::string> tokens_;
    const service::CPageFiles files_;
    service::CAccess access_;
    service::CApi api_;
};

SHttpRequest RequestOf(std::string text, const CServed& served) {
    constexpr const char* Bearer = "Bearer ";
    SHttpRequest request;
    const std::string first = fuzz::TakeLine(text);
    const std::size_t space = first.find(' ');
    request.method = first.substr(0, space);
    request.target = space == std::string::npos ? "" : first.substr(space + 1);
    request.path = request.target.substr(0, request.target.find('?'));
    if (request.path.size() < request.target.size())
        for (const std::string& one : fuzz::Split(request.target.substr(request.path.size() + 1), '&'))
            request.query.emplace(one.substr(0, one.find('=')),
                                  one.find('=') == std::string::npos ? "" : one.substr(one.find('=') + 1));
    request.headers["host"] = "localhost";
    for (std::string line = fuzz::TakeLine(text); !line.empty(); line = fuzz::TakeLine(text)) {
        const std::size_t colon = line.find(": ");
        if (colon == std::string::npos)
            continue;
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        std::string value = line.substr(colon + 2);
        if (name == "authorization" && value.rfind(Bearer, 0) == 0)
            value = Bearer + served.token(value.substr(std::strlen(Bearer)));
        request.headers[name] = value;
    }
    request.body = text;
    request.remote = "192.0.2.1";
    return request;
}

bool IsOpen(const SHttpRequest& request) {
    const std::string& path = request.path;
    if (request.method == "DELETE" && path == "/api/v1/session") // to forget no session is no secret
        return true;
    return path.rfind("/api/", 0) != 0 ? path != "/metrics"
                                       : path == "/api/v1/healthz" || path == "/api/v1/readyz";
}

void RequireAnswer(const SHttpRequest& request, const SHttpAnswer& answer) {
    const std::string authorization = request.header("authorization");
    // Nobody has asked the camera, and not each camera has been asked.
    fuzz::Require(answer.status < 500 || answer.status == 503, "nothing fails on this side");
    fuzz::Require(authorization.rfind("Bearer ", 0) == 0 || IsOpen(request) || answer.status >= 400,
                  "nobody is answered without a token");
    std::string type;
    for (const auto& [name, value] : answer.headers) {
        fuzz::Require((name + value).find_first_of("\r\n") == std::string::npos, "a header is one line");
        if (name == "Content-Type")
            type = value;
    }
    if (type.find("json") != std::string::npos && answer.body) {
        const auto json = nlohmann::json::parse(*answer.body);
        fuzz::Require((type == "application/problem+json") == json.contains("detail"),
                      "a problem says what is wrong");
        fuzz::Require(!json.contains("status") || !json["status"].is_number() ||
                          json["status"] == answer.status,
                      "and has the answer's status");
    }
    if (answer.source) { // of a client that goes at once
        answer.source->setWaker([] {});
        char buffer[512];
        std::size_t count = 0;
        (void)answer.source->read(buffer, sizeof buffer, count);
    }
}

CServed& Served() {
    static CServed served;
    return served;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    (void)Served();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CServed& served = Served();
    const SHttpRequest request = RequestOf(fuzz::InputText(data, size), served);
    const bool isDoctor = request.path.rfind("/doctor") == request.path.size() - 7 && request.path.size() > 7;
    if (isDoctor) // is another process of this program
        return 0;
    RequireAnswer(request, served.answer(request));
    return 0;
}
