#include "service/problem_answer.h"

#include "refhost/base/printable_text.h"

#include <microhttpd.h>

#include <algorithm>
#include <iterator>

namespace corvane::service {
namespace {

// What a status says where the refusal has no problem of its own; the last, what any other does.
struct SAdvice {
    int status;
    const char* cause;
    bool isCertain;
    const char* text;
};
constexpr const char* WrongUsage = "wrong-usage";
constexpr const char* Limit = "limit";
constexpr SAdvice Advice[] = {
    {MHD_HTTP_BAD_REQUEST, WrongUsage, true, "see in /api/v1/openapi.json what the request may have"},
    {MHD_HTTP_UNAUTHORIZED, WrongUsage, true, "give a token of `vornhost token list`, or log in again"},
    {MHD_HTTP_FORBIDDEN, WrongUsage, true,
     "see in /api/v1/openapi.json and /api/v1/operations who may ask for what"},
    {MHD_HTTP_NOT_FOUND, WrongUsage, true,
     "see in /api/v1/cameras which cameras there are, and in /api/v1/openapi.json which paths"},
    {MHD_HTTP_METHOD_NOT_ALLOWED, WrongUsage, true, "take one of the methods in Allow"},
    {MHD_HTTP_CONFLICT, WrongUsage, true, "wait until the other client has let go"},
    {MHD_HTTP_CONTENT_TOO_LARGE, WrongUsage, true, "send less"},
    {MHD_HTTP_UNSUPPORTED_MEDIA_TYPE, WrongUsage, true, "send JSON with Content-Type: application/json"},
    {MHD_HTTP_MISDIRECTED_REQUEST, WrongUsage, true,
     "ask at an address where the service listens, or start it with --public-host"},
    {MHD_HTTP_UNPROCESSABLE_CONTENT, WrongUsage, true, "see in /api/v1/cameras/NAME what the camera has"},
    {MHD_HTTP_TOO_MANY_REQUESTS, Limit, true, "see who sends wrong tokens; it ends within a minute"},
    {MHD_HTTP_SERVICE_UNAVAILABLE, Limit, true, "try again in a moment"},
    {MHD_HTTP_INTERNAL_SERVER_ERROR, Limit, false,
     "see what limits the service's memory, threads and open files"},
};

nlohmann::ordered_json ProblemOf(int status, const std::string& asked, const std::string& detail) {
    const SAdvice* const advice = std::find_if(std::begin(Advice), std::end(Advice) - 1,
                                               [&](const SAdvice& one) { return one.status == status; });
    return {{"cause", advice->cause},
            {"certain", advice->isCertain},
            {"asked", asked},
            {"answered", detail},
            {"try", advice->text}};
}

} // namespace

SHttpAnswer JsonAnswer(const nlohmann::ordered_json& value, int status) {
    return SHttpAnswer::of(status, JsonType, refhost::JsonText(value));
}

SHttpAnswer ProblemAnswer(int status, const std::string& detail, const nlohmann::ordered_json& more) {
    nlohmann::ordered_json problem{{"type", "about:blank"},
                                   {"title", MHD_get_reason_phrase_for(static_cast<unsigned>(status))},
                                   {"status", status},
                                   {"detail", detail}};
    problem.update(more);
    return SHttpAnswer::of(status, "application/problem+json", refhost::JsonText(problem));
}

std::string AskedOf(const SHttpRequest& request) {
    return request.method + " " + request.target.substr(0, request.target.find('?'));
}

SHttpAnswer CRefusal::answer(const std::string& asked) const {
    nlohmann::ordered_json more = more_;
    if (!more.contains("problem"))
        more["problem"] = ProblemOf(status_, asked, what());
    SHttpAnswer answer = ProblemAnswer(status_, what(), more);
    if (status_ == MHD_HTTP_UNAUTHORIZED)
        answer.headers.emplace_back("WWW-Authenticate", "Bearer");
    return answer;
}

} // namespace corvane::service
