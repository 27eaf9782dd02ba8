#include "service/http_message.h"

namespace corvane::service {

std::string SHttpRequest::header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
}

std::optional<std::string> SHttpRequest::parameter(const std::string& name) const {
    const auto found = query.find(name);
    return found == query.end() ? std::nullopt : std::optional(found->second);
}

SHttpAnswer SHttpAnswer::of(int status, const std::string& contentType, std::string body) {
    SHttpAnswer answer;
    answer.status = status;
    if (!contentType.empty())
        answer.headers.emplace_back("Content-Type", contentType);
    answer.body = std::make_shared<const std::string>(std::move(body));
    return answer;
}

} // namespace corvane::service
