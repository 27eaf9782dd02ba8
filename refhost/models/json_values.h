#pragma once

// How the values of a model list are written in JSON. What cannot be read is refused, with its place and what
// was expected (see refhost/text/json_node.h).

#include "host/model_info.h"
#include "operations/whole_number.h"
#include "refhost/text/json_node.h"

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace corvane::refhost {

constexpr int LowestInt = std::numeric_limits<int>::min();
constexpr int HighestInt = std::numeric_limits<int>::max();

using Words = std::initializer_list<const char*>;

inline bool Holds(Words words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

inline std::string Listed(Words words) {
    std::string text;
    for (const char* word : words)
        text += (text.empty() ? "" : ", ") + std::string(word);
    return text;
}

// Readers of one value each, for tables of members: they return what reads a member into its destination.

inline auto ToText(std::string& value) {
    return [&value](const CJsonNode& node) { value = node.text(); };
}

inline auto ToFilledText(std::string& value) {
    return [&value](const CJsonNode& node) {
        value = node.text();
        if (value.empty())
            node.refuse("expected a text that is not empty");
    };
}

inline auto ToDecimalText(std::string& value) {
    return [&value](const CJsonNode& node) {
        value = node.text();
        if (!operations::ReadWholeNumber<int>(value))
            node.refuse("expected a decimal number as a text");
    };
}

inline auto ToOptionalDecimalText(std::string& value) {
    return [&value](const CJsonNode& node) {
        value = node.text();
        if (!value.empty() && !operations::ReadWholeNumber<int>(value))
            node.refuse("expected a decimal number as a text, or an empty text");
    };
}

inline auto ToInteger(int& value, int minimum = LowestInt, int maximum = HighestInt) {
    return [&value, minimum, maximum](const CJsonNode& node) { value = node.integer(minimum, maximum); };
}

inline auto ToTexts(std::vector<std::string>& values) {
    return [&values](const CJsonNode& node) {
        node.eachEntry([&](const CJsonNode& entry) { values.push_back(entry.text()); });
    };
}

inline auto ToRange(device_handler::v1_0::SRange& range) {
    return [&range](const CJsonNode& node) {
        node.requireLength(2, "[minimum, maximum]");
        std::vector<int> ends;
        node.eachEntry([&](const CJsonNode& entry) { ends.push_back(entry.integer(LowestInt, HighestInt)); });
        range = {ends[0], ends[1]};
        if (range.minimum > range.maximum)
            node.refuse("expected a minimum that is not above the maximum");
    };
}

inline auto ToWord(std::string& value, Words words) {
    return [&value, words](const CJsonNode& node) {
        value = node.text();
        if (!Holds(words, value))
            node.refuse("expected one of " + Listed(words));
    };
}

using Parameters = std::vector<std::pair<std::string, std::string>>;

inline auto ToParameters(Parameters& parameters) {
    return [&parameters](const CJsonNode& node) {
        node.eachEntry([&](const CJsonNode& entry) {
            entry.requireLength(2, "[name, value]");
            std::vector<std::string> pair;
            entry.eachEntry([&](const CJsonNode& text) { pair.push_back(text.text()); });
            parameters.emplace_back(pair[0], pair[1]);
        });
    };
}

// An object whose names are decimal numbers.
template <class Read>
void EachNumber(const CJsonNode& node, int minimum, const Read& read) {
    node.eachMember([&](const std::string& name, const CJsonNode& member) {
        const auto number = operations::ReadWholeNumber<int>(name);
        if (!number || *number < minimum || std::to_string(*number) != name)
            member.refuse("expected a decimal number of at least " + std::to_string(minimum) +
                          " as the name");
        read(*number, member);
    });
}

// An object whose names are among the words.
template <class Read>
void EachWord(const CJsonNode& node, Words words, const Read& read) {
    node.eachMember([&](const std::string& name, const CJsonNode& member) {
        if (!Holds(words, name))
            member.refuse("unknown member; expected one of " + Listed(words));
        read(name, member);
    });
}

} // namespace corvane::refhost
