#pragma once

#include "host/api.h"
#include "refhost/base/names.h"

#include <string>

namespace corvane::refhost {

// A device's address taken apart.
struct SAddress {
    std::string host; // a host name, a dotted address, or an IPv6 address in brackets
    std::string port; // decimal, 1 to 65535; empty when the address carries none
};

// Reads "HOST" or "HOST:PORT"; nothing for anything else (blanks, user names, paths, ports out of range).
VORN_HOST_API COptional<SAddress> ParseAddress(const std::string& address);

// The port of a device that tells none.
inline constexpr const char* UsualPort = "80";

// "HOST" or "HOST:PORT", without the usual port.
VORN_HOST_API std::string AddressText(const std::string& host, const std::string& port);

// A device's address as its exchanges tell it, the usual port left out; a text that is no address as it is.
VORN_HOST_API std::string ToldAddress(const std::string& address);

} // namespace corvane::refhost
