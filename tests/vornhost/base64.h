#pragma once

#include <cstddef>
#include <string>

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

} // namespace corvane::vornhost_test
