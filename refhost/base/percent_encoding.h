#pragma once

#include <string>

namespace corvane::refhost {

// The text as a query's name or value carries it: every byte but letters, digits and "-._~" as "%XX".
inline std::string PercentEncoded(const std::string& text) {
    constexpr char HexDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool unreserved = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                                c == '-' || c == '.' || c == '_' || c == '~';
        if (unreserved)
            encoded += c;
        else
            encoded.append({'%', HexDigits[byte / 16], HexDigits[byte % 16]});
    }
    return encoded;
}

// Likewise, with "+" for a blank, as forms carry it.
inline std::string FormEncoded(const std::string& text) {
    std::string encoded;
    for (const char c : text)
        encoded += c == ' ' ? std::string("+") : PercentEncoded(std::string(1, c));
    return encoded;
}

} // namespace corvane::refhost
