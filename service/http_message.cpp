#include "service/http_message.h"

#include <algorithm>
#include <cctype>

namespace corvane::service {

std::string SmallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

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
