#include "control/control_access.h"

#include "model/numbers.h"

#include <arpa/inet.h>
#include <cstring>
#include <strings.h>

namespace camsim {
namespace {

constexpr const char* BodyType = "application/json";

bool IsSame(const std::string& one, const std::string& other) {
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}

std::vector<std::string> ValuesOf(const SControlRequest& request, const std::string& name) {
    std::vector<std::string> values;
    for (const auto& [key, value] : request.headers)
        if (IsSame(key, name))
            values.push_back(value);
    return values;
}

// The host of "HOST" or "HOST:PORT", an IPv6 address without its brackets; empty when it is neither.
std::string HostIn(const std::string& text) {
    const size_t end = text.rfind(']') == text.npos ? text.find(':') : text.rfind(']') + 1;
    const std::string host = text.substr(0, end);
    const bool hasPort = host.size() < text.size();
    if (hasPort && (text[host.size()] != ':' || !ParseNumber<uint16_t>(text.substr(host.size() + 1))))
        return "";
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return bracketed ? host.substr(1, host.size() - 2) : host;
}

// Only these names are taken. The owner of a web page can let the page's own host name lead to this machine;
// its requests then arrive here, but with that name in their Host header.
bool IsThisMachine(const std::string& host) {
    in_addr v4{};
    if (inet_pton(AF_INET, host.c_str(), &v4) == 1)
        return ntohl(v4.s_addr) >> IN_CLASSA_NSHIFT == IN_LOOPBACKNET;
    in6_addr v6{};
    if (inet_pton(AF_INET6, host.c_str(), &v6) == 1)
        return std::memcmp(&v6, &in6addr_loopback, sizeof v6) == 0;
    return IsSame(host, "localhost");
}

bool IsJson(const std::string& contentType) {
    const std::string type = contentType.substr(0, contentType.find(';'));
    return IsSame(type.substr(0, type.find_last_not_of(" \t") + 1), BodyType);
}

SControlReply Refusal(unsigned status, const std::string& text) {
    return {status, {{"error", text}}};
}

} // namespace

std::optional<SControlReply> RefuseStranger(const SControlRequest& request) {
    const std::vector<std::string> hosts = ValuesOf(request, MHD_HTTP_HEADER_HOST);
    if (hosts.size() != 1 || !IsThisMachine(HostIn(hosts.front())))
        return Refusal(
            MHD_HTTP_FORBIDDEN,
            "Host: expected localhost or a loopback address, with or without a port, and once, not '" +
                (hosts.empty() ? "" : hosts.front()) + "'");
    if (request.method == MHD_HTTP_METHOD_GET)
        return std::nullopt;
    for (const std::string& origin : ValuesOf(request, MHD_HTTP_HEADER_ORIGIN))
        if (!IsSame(origin, "http://" + hosts.front()))
            return Refusal(MHD_HTTP_FORBIDDEN, "Origin: web pages of '" + origin + "' may change nothing");
    if (request.method == MHD_HTTP_METHOD_DELETE) // a browser sends none for a page without asking here first
        return std::nullopt;
    const std::vector<std::string> types = ValuesOf(request, MHD_HTTP_HEADER_CONTENT_TYPE);
    if (types.size() != 1 || !IsJson(types.front()))
        return Refusal(MHD_HTTP_UNSUPPORTED_MEDIA_TYPE,
                       std::string("Content-Type: send the header Content-Type: ") + BodyType +
                           " (curl --json does)");
    return std::nullopt;
}

} // namespace camsim
