#include "site/report/measured.h"

#include <nlohmann/json.hpp>

namespace corvane::site {

ordered_json Measured(ordered_json value) {
    if (value.is_structured())
        for (ordered_json& part : value)
            part = Measured(part);
    if (!value.is_string())
        return value;
    const std::string text = value;
    const bool isDecimal = !text.empty() && text.find_first_not_of("0123456789.") == std::string::npos;
    const ordered_json number = isDecimal ? ordered_json::parse(text, nullptr, false) : ordered_json();
    return number.is_number() ? number : value;
}

} // namespace corvane::site
