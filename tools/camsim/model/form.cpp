#include "model/form.h"

#include <cctype>

namespace camsim {
namespace {

int HexDigit(char digit) {
    if (std::isxdigit(static_cast<unsigned char>(digit)) == 0)
        return -1;
    return digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10;
}

std::string Decode(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const bool escape =
            text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0;
        if (escape) {
            decoded += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i] == '+' ? ' ' : text[i];
        }
    }
    return decoded;
}

} // namespace

Parameters ParseForm(std::string_view text) {
    Parameters parameters;
    while (!text.empty()) {
        const std::string_view pair = text.substr(0, text.find('&'));
        text.remove_prefix(std::min(text.size(), pair.size() + 1));
        if (pair.empty())
            continue;
        const size_t equals = pair.find('=');
        const std::string_view value = equals == pair.npos ? std::string_view() : pair.substr(equals + 1);
        parameters.emplace_back(Decode(pair.substr(0, equals)), Decode(value));
    }
    return parameters;
}

std::string ParameterValue(const Parameters& parameters, std::string_view name, std::string_view absent) {
    for (const auto& [known, value] : parameters)
        if (known == name)
            return value;
    return std::string(absent);
}

STarget SplitTarget(std::string_view target) {
    const size_t mark = target.find('?');
    if (mark == target.npos)
        return {std::string(target), ""};
    return {std::string(target.substr(0, mark)), std::string(target.substr(mark + 1))};
}

} // namespace camsim
