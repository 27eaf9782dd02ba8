#pragma once

#include "service/http_message.h"

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

namespace corvane::service {

inline constexpr const char* JsonType = "application/json";

SHttpAnswer JsonAnswer(const nlohmann::ordered_json& value, int status = 200);

// application/problem+json (RFC 9457). `more`: members beside type, title, status and detail, such as
// "problem".
SHttpAnswer ProblemAnswer(int status, const std::string& detail,
                          const nlohmann::ordered_json& more = nlohmann::ordered_json::object());

// The request as a problem has it: method and path, without a query, in which might stand what is nobody's
// business.
std::string AskedOf(const SHttpRequest& request);

// A request that cannot be answered as it was wished. `more` may have a problem of its own.
class CRefusal : public std::runtime_error {
public:
    CRefusal(int status, const std::string& detail,
             nlohmann::ordered_json more = nlohmann::ordered_json::object())
        : std::runtime_error(detail), status_(status), more_(std::move(more)) {}

    // `asked`: what was.
    SHttpAnswer answer(const std::string& asked) const;

private:
    int status_;
    nlohmann::ordered_json more_;
};

} // namespace corvane::service
