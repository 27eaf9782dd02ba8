#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace corvane::refhost {

// Why a value was refused, and where it stands ("models[2].ptz.position.pan").
class CJsonRefusal : public std::runtime_error {
public:
    CJsonRefusal(const std::string& place, const std::string& reason)
        : std::runtime_error((place.empty() ? "top level" : place) + ": " + reason), place_(place) {}

    const std::string& place() const { return place_; }

private:
    std::string place_;
};

// The place of a member, or of an array's entry, of the value at `place`.
std::string MemberPlace(const std::string& place, const std::string& name);
std::string EntryPlace(const std::string& place, std::size_t index);

// Where in the text each member's name, and each entry of an array, begins: the byte from 0, by place.
using JsonPositions = std::map<std::string, std::size_t>;

// "line 3, column 7", counted from 1, of a byte of the text from 0.
std::string LineAndColumn(const std::string& text, std::size_t byte);

// Parses a text. Throws CJsonRefusal for a text that is no JSON, the place being a line and column, for a
// member that stands twice in its object, and for nesting that no sensible text has. What was read until
// then is in `positions`.
nlohmann::json ParseJson(const std::string& text, JsonPositions* positions = nullptr);

// A value of a parsed text together with its place. Each reader throws CJsonRefusal when the value is not
// what it reads. Must not outlive the value.
class CJsonNode {
public:
    struct SMember {
        const char* name;
        enum Presence { Required, Optional } presence;
        std::function<void(const CJsonNode&)> read;
    };

    explicit CJsonNode(const nlohmann::json& value, std::string place = {})
        : value_(value), place_(std::move(place)) {}

    const std::string& place() const { return place_; }

    [[noreturn]] void refuse(const std::string& reason) const { throw CJsonRefusal(place_, reason); }

    // "REASON; expected one of A, B; did you mean A?"
    [[noreturn]] void refuseName(const std::string& reason, const std::string& name,
                                 const std::vector<std::string>& known) const;

    std::string text() const;
    int integer(int minimum, int maximum) const;
    bool boolean() const;

    // An object of these members and no other.
    void object(const std::vector<SMember>& members) const;
    // An object whose names are data.
    void eachMember(const std::function<void(const std::string& name, const CJsonNode&)>& read) const;
    void eachEntry(const std::function<void(const CJsonNode&)>& read) const;
    // Refuses an array of any other length.
    void requireLength(std::size_t length, const char* expected) const;

private:
    const nlohmann::json& value_;
    const std::string place_;
};

} // namespace corvane::refhost
