#pragma once

#include <cstdint>

namespace corvane::device_handler::v1_0 {

// An HTTP client or server error and the reason that is told for it.
struct SHttpStatusReason {
    std::int32_t code;
    const char* reason;
};

inline constexpr SHttpStatusReason HttpStatusReasons[] = {
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required[2]"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Request Entity Too Large"},
    {414, "Request-URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Requested Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {418, "I'm a teapot"},
    {422, "Unprocessable Entity (WebDAV) (RFC 4918)"},
    {423, "Locked (WebDAV) (RFC 4918)"},
    {424, "Failed Dependency (WebDAV) (RFC 4918)"},
    {425, "Unordered Collection (RFC 3648)"},
    {426, "Upgrade Required (RFC 2817)"},
    {444, "No Response"},
    {449, "Retry With"},
    {450, "Blocked by Windows Parental Controls"},
    {499, "Client Closed Request"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {506, "Variant Also Negotiates (RFC 2295)"},
    {507, "Insufficient Storage (WebDAV) (RFC 4918)[4]"},
    {509, "Bandwidth Limit Exceeded (Apache bw/limited extension)"},
    {510, "Not Extended (RFC 2774)"},
};

// The reason of a status; empty for one that the table does not hold.
constexpr const char* HttpStatusReason(long code) {
    for (const SHttpStatusReason& row : HttpStatusReasons)
        if (row.code == code)
            return row.reason;
    return "";
}

} // namespace corvane::device_handler::v1_0
