#include "service/problem_answer.h"

#include "refhost/base/printable_text.h"

#include <microhttpd.h>

namespace corvane::service {

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

} // namespace corvane::service
