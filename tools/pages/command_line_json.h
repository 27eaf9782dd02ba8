#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace pages {

using Json = nlohmann::ordered_json;

// What help tells of an option: its names, what it takes, and what it does.
inline Json OptionJson(const CLI::Option& option) {
    Json names = Json::array();
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    std::string type = option.get_type_name();
    // Behind a colon stand the words of which it is one, or nothing.
    const std::size_t colon = type.find(':');
    const std::string words = colon == std::string::npos ? "" : type.substr(colon + 1);
    type = type.substr(0, colon);
    Json excludes = Json::array();
    for (const CLI::Option* other : option.get_excludes())
        excludes.push_back(other->get_name());
    return {{"names", names},
            {"positional", option.get_positional() ? option.get_name(true) : ""},
            {"takesValue", option.get_items_expected_max() > 0},
            {"isList", option.get_items_expected_max() > 1},
            {"type", type},
            {"words", words},
            {"default", option.get_default_str()},
            {"required", option.get_required()},
            {"excludes", excludes},
            {"description", option.get_description()}};
}

// A program or a verb, as its help has it; options of no group are not told there either.
inline Json CommandLineJson(const CLI::App& app) {
    Json options = Json::array();
    for (const CLI::Option* option : app.get_options())
        if (!option->get_group().empty())
            options.push_back(OptionJson(*option));
    Json verbs = Json::array();
    for (const CLI::App* verb : app.get_subcommands({}))
        verbs.push_back(CommandLineJson(*verb));
    return {{"name", app.get_name()},
            {"description", app.get_description()},
            {"footer", app.get_footer()},
            {"options", options},
            {"verbs", verbs}};
}

} // namespace pages
