#include "control/control_access.h"

#include "model/numbers.h"

#include <arpa/inet.h>
#include <cstring>
#include <strings.h>

namespace camsim {
namespace {

constexpr const char* bodyType = "application/json";

bool isSame(const std::string& one, const std::string& other) {
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}

std::vector<std::string> valuesOf(const ControlRequest& request, const std::string& name) {
    std::vector<std::string> values;
    for (const auto& [key, value] : request.headers)
        if (isSame(key, name))
            values.push_back(value);
    return values;
}

/// The host of "HOST" or "HOST:PORT", an IPv6 address without its brackets; empty when it is neither.
std::string hostIn(const std::string& text) {
    const size_t end = text.rfind(']') == text.npos ? text.find(':') : text.rfind(']') + 1;
    const std::string host = text.substr(0, end);
    const bool hasPort = host.size() < text.size();
    if (hasPort && (text[host.size()] != ':' || !parseNumber<uint16_t>(text.substr(host.size() + 1))))
        return "";
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return bracketed ? host.substr(1, host.size() - 2) : host;
}

/// A page whose name its owner lets point to this machine is told from the machine's own names by them alone.
bool isThisMachine(const std::string& host) {
    in_addr v4{};
    if (inet_pton(AF_INET, host.c_str(), &v4) == 1)
        return ntohl(v4.s_addr) >> IN_CLASSA_NSHIFT == IN_LOOPBACKNET;
    in6_addr v6{};
    if (inet_pton(AF_INET6, host.c_str(), &v6) == 1)
        return std::memcmp(&v6, &in6addr_loopback, sizeof v6) == 0;
    return isSame(host, "localhost");
}

bool isJson(const std::string& contentType) {
    const std::string type = contentType.substr(0, contentType.find(';'));
    return isSame(type.substr(0, type.find_last_not_of(" \t") + 1), bodyType);
}

ControlReply refusal(unsigned status, const std::string& text) {
    return {status, {{"error", text}}};
}

} // namespace

std::optional<ControlReply> refuseStranger(const ControlRequest& request) {
    const std::vector<std::string> hosts = valuesOf(request, MHD_HTTP_HEADER_HOST);
    if (hosts.size() != 1 || !isThisMachine(hostIn(hosts.front())))
        return refusal(
            MHD_HTTP_FORBIDDEN,
            "Host: expected localhost or a loopback address, with or without a port, and once, not '" +
                (hosts.empty() ? "" : hosts.front()) + "'");
    if (request.method == MHD_HTTP_METHOD_GET)
        return std::nullopt;
    for (const std::string& origin : valuesOf(request, MHD_HTTP_HEADER_ORIGIN))
        if (!isSame(origin, "http://" + hosts.front()))
            return refusal(MHD_HTTP_FORBIDDEN, "Origin: web pages of '" + origin + "' may change nothing");
    if (request.method == MHD_HTTP_METHOD_DELETE) // of which no page is capable without being asked about it
        return std::nullopt;
    const std::vector<std::string> types = valuesOf(request, MHD_HTTP_HEADER_CONTENT_TYPE);
    if (types.size() != 1 || !isJson(types.front()))
        return refusal(MHD_HTTP_UNSUPPORTED_MEDIA_TYPE,
                       std::string("Content-Type: send the header Content-Type: ") + bodyType +
                           " (curl --json does)");
    return std::nullopt;
}

} // namespace camsim
