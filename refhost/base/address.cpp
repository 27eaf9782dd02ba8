#include "refhost/base/address.h"

#include "operations/whole_number.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string_view>

namespace corvane::refhost {
namespace {

constexpr std::size_t LongestHostName = 253;
constexpr std::string_view Digits = "0123456789";

bool IsHostNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_';
}

bool IsNumericAddress(int family, const std::string& text) {
    in6_addr parsed{};
    if (text.find('\0') != std::string::npos) // inet_pton would not see what stands behind it
        return false;
    return inet_pton(family, text.c_str(), &parsed) == 1;
}

// "10.0.0.1-300", and "10.0.0.1-9" where one address is wanted: no name server knows it.
bool LooksLikeARange(const std::string& host) {
    const std::size_t hyphen = host.find('-');
    return hyphen != std::string::npos && IsNumericAddress(AF_INET, host.substr(0, hyphen)) &&
           host.find_first_not_of("0123456789.", hyphen + 1) == std::string::npos;
}

bool IsHostName(const std::string& host) {
    if (host.empty() || host.size() > LongestHostName || host.front() == '-' || host.front() == '.' ||
        LooksLikeARange(host))
        return false;
    if (!std::all_of(host.begin(), host.end(), IsHostNameCharacter))
        return false;
    // No domain is all digits: this must be a dotted address, and not one of its abbreviations.
    const std::size_t dot = host.rfind('.');
    const std::string_view last = std::string_view(host).substr(dot == std::string::npos ? 0 : dot + 1);
    return last.find_first_not_of(Digits) != std::string_view::npos || IsNumericAddress(AF_INET, host);
}

bool IsBracketedIpv6(const std::string& host) {
    return host.size() > 2 && host.front() == '[' && host.back() == ']' &&
           IsNumericAddress(AF_INET6, host.substr(1, host.size() - 2));
}

bool IsPort(const std::string& port) {
    const auto value = operations::ReadWholeNumber<unsigned>(port);
    return value && *value >= 1 && *value <= 65535;
}

} // namespace

COptional<SAddress> ParseAddress(const std::string& address) {
    const std::size_t colon =
        address.find(':', address.empty() || address.front() != '[' ? 0 : address.rfind(']'));
    SAddress parsed;
    parsed.host = address.substr(0, colon);
    if (!IsHostName(parsed.host) && !IsBracketedIpv6(parsed.host))
        return {};
    if (colon != std::string::npos) {
        parsed.port = address.substr(colon + 1);
        if (!IsPort(parsed.port))
            return {};
    }
    return parsed;
}

std::string AddressText(const std::string& host, const std::string& port) {
    return host + (port.empty() || port == UsualPort ? "" : ":" + port);
}

std::string ToldAddress(const std::string& address) {
    const COptional<SAddress> parts = ParseAddress(address);
    return parts ? AddressText(parts->host, parts->port) : address;
}

} // namespace corvane::refhost
