#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corvane::vornhost_test {

inline std::string Base64(const std::string& text) {
    static constexpr char Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (std::size_t i = 0; i + 2 < text.size(); i += 3) { // the end is no concern of who looks for a part
        const auto byte = [&](std::size_t at) -> unsigned {
            return static_cast<unsigned char>(text[i + at]);
        };
        const unsigned bits = byte(0) << 16U | byte(1) << 8U | byte(2);
        for (const unsigned shift : {18U, 12U, 6U, 0U})
            encoded += Digits[bits >> shift & 63U];
    }
    return encoded;
}

// A password that is looked for, and the forms in which it could get out.
inline const std::string Canary = "b1rd&of@many colours";
inline std::vector<std::string> CanaryForms() {
    return {Canary,
            "b1rd%26of%40many",
            "b1rd&amp;of",
            Base64("admin:" + Canary).substr(0, 24),
            Base64(Canary),
            Base64(Canary.substr(1)),
            Base64(Canary.substr(2))};
}

} // namespace corvane::vornhost_test
