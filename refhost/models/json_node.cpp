#include "refhost/models/json_node.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace corvane::refhost {
namespace {

using nlohmann::json;

constexpr std::size_t DeepestNesting = 32;

// Follows the parser, since the parsed value no longer shows that a member stood twice.
class CDuplicateCheck {
public:
    bool operator()(json::parse_event_t event, const json& parsed) {
        switch (event) {
        case json::parse_event_t::object_start:
        case json::parse_event_t::array_start:
            enter(event == json::parse_event_t::array_start);
            break;
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            open_.pop_back();
            break;
        case json::parse_event_t::key:
            name(parsed.get_ref<const std::string&>());
            break;
        case json::parse_event_t::value:
            beginEntry();
            break;
        }
        return true;
    }

    // The place of the value that is read next.
    std::string next() const {
        if (open_.empty())
            return {};
        const SOpen& open = open_.back();
        return open.isArray ? EntryPlace(open.place, open.entries) : MemberPlace(open.place, open.current);
    }

private:
    struct SOpen {
        bool isArray;
        std::string place;
        std::string current; // the member being read
        std::size_t entries = 0;
        std::set<std::string> names;
    };

    void enter(bool isArray) {
        if (open_.size() == DeepestNesting)
            throw CJsonRefusal(open_.back().place, "nested too deeply");
        std::string place = next();
        beginEntry();
        open_.push_back({isArray, std::move(place), {}, 0, {}});
    }

    void beginEntry() {
        if (!open_.empty())
            ++open_.back().entries;
    }

    void name(const std::string& name) {
        SOpen& object = open_.back();
        object.current = name;
        if (!object.names.insert(name).second)
            throw CJsonRefusal(MemberPlace(object.place, name), "this member stands twice");
    }

    std::vector<SOpen> open_;
};

std::string LineAndColumn(const std::string& text, std::size_t byte) {
    const std::string before = text.substr(0, byte > 0 ? byte - 1 : 0);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 when there is none
    return "line " + std::to_string(line) + ", column " + std::to_string(before.size() - lineStart + 1);
}

// The library's own text, without its number and place.
std::string ReasonOf(const json::parse_error& error) {
    const std::string text = error.what();
    const std::size_t place = text.find("column ");
    const std::size_t reason = text.find(": ", place);
    return reason == std::string::npos ? text : text.substr(reason + 2);
}

std::string NamesOf(const std::vector<CJsonNode::SMember>& members) {
    std::string names;
    for (const CJsonNode::SMember& member : members)
        names += (names.empty() ? "" : ", ") + std::string(member.name);
    return names;
}

} // namespace

std::string MemberPlace(const std::string& place, const std::string& name) {
    const bool plain = !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '_' || c == '-';
    });
    if (!plain)
        return place + "[" + json(name).dump() + "]";
    return place + (place.empty() ? "" : ".") + name;
}

std::string EntryPlace(const std::string& place, std::size_t index) {
    return place + "[" + std::to_string(index) + "]";
}

json ParseJson(const std::string& text) {
    CDuplicateCheck check;
    try {
        return json::parse(
            text, [&](int, json::parse_event_t event, json& parsed) { return check(event, parsed); });
    } catch (const json::parse_error& error) {
        throw CJsonRefusal(LineAndColumn(text, error.byte), ReasonOf(error));
    } catch (const json::out_of_range&) { // which tells no line
        throw CJsonRefusal(check.next(), "this number is too large");
    }
}

std::string CJsonNode::text() const {
    if (!value_.is_string())
        refuse("expected a text");
    return value_.get<std::string>();
}

int CJsonNode::integer(int minimum, int maximum) const {
    const bool fits = value_.is_number_unsigned()
                          ? value_.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::max(maximum, 0))
                          : value_.is_number_integer() && value_.get<std::int64_t>() <= maximum;
    if (!fits || value_.get<std::int64_t>() < minimum)
        refuse("expected an integer from " + std::to_string(minimum) + " to " + std::to_string(maximum));
    return value_.get<int>();
}

bool CJsonNode::boolean() const {
    if (!value_.is_boolean())
        refuse("expected true or false");
    return value_.get<bool>();
}

void CJsonNode::object(const std::vector<SMember>& members) const {
    for (const SMember& member : members)
        if (member.presence == SMember::Required && value_.is_object() && !value_.contains(member.name))
            refuse("missing member \"" + std::string(member.name) + "\"");
    eachMember([&](const std::string& name, const CJsonNode& node) {
        const auto known = std::find_if(members.begin(), members.end(),
                                        [&](const SMember& member) { return name == member.name; });
        if (known == members.end())
            node.refuse("unknown member; expected one of " + NamesOf(members));
        known->read(node);
    });
}

void CJsonNode::eachMember(const std::function<void(const std::string&, const CJsonNode&)>& read) const {
    if (!value_.is_object())
        refuse("expected an object");
    for (const auto& [name, value] : value_.items())
        read(name, CJsonNode(value, MemberPlace(place_, name)));
}

void CJsonNode::eachEntry(const std::function<void(const CJsonNode&)>& read) const {
    if (!value_.is_array())
        refuse("expected an array");
    for (std::size_t i = 0; i < value_.size(); ++i)
        read(CJsonNode(value_[i], EntryPlace(place_, i)));
}

void CJsonNode::requireLength(std::size_t length, const char* expected) const {
    if (!value_.is_array() || value_.size() != length)
        refuse(std::string("expected ") + expected);
}

} // namespace corvane::refhost
