#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace corvane::vornhost {

// An option's number between two. Help does not spell the range out, an error does. CLI::Range takes "nan"
// for one between any two.
template <typename Number>
CLI::Validator Between(Number lowest, Number highest) {
    return {[=](const std::string& text) {
                Number number{};
                const bool isWithin =
                    CLI::detail::lexical_cast(text, number) && lowest <= number && number <= highest;
                return isWithin ? ""
                                : "Value " + text + " not in range " + CLI::detail::to_string(lowest) +
                                      " to " + CLI::detail::to_string(highest);
            },
            ""};
}

} // namespace corvane::vornhost
