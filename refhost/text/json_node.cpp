#include "refhost/text/json_node.h"

#include "refhost/text/near_names.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

namespace corvane::refhost {
namespace {

using nlohmann::json;

constexpr std::size_t DeepestNesting = 32;

// Reads on through a text, and tells how far it is.
class CReader {
public:
    // NOLINTBEGIN(readability-identifier-naming): the standard's names
    using difference_type = std::ptrdiff_t;
    using value_type = char;
    using pointer = const char*;
    using reference = const char&;
    using iterator_category = std::input_iterator_tag;
    // NOLINTEND(readability-identifier-naming)

    CReader(const char* position, const char* begin, std::size_t* read)
        : position_(position), begin_(begin), read_(read) {}

    reference operator*() const { return *position_; }
    CReader& operator++() {
        ++position_;
        *read_ = static_cast<std::size_t>(position_ - begin_);
        return *this;
    }
    friend bool operator==(const CReader& a, const CReader& b) { return a.position_ == b.position_; }
    friend bool operator!=(const CReader& a, const CReader& b) { return !(a == b); }

private:
    const char* position_;
    const char* begin_;
    std::size_t* read_;
};

bool IsEscaped(const std::string& text, std::size_t quote) {
    std::size_t backslashes = 0;
    while (backslashes < quote && text[quote - 1 - backslashes] == '\\')
        ++backslashes;
    return backslashes % 2 != 0;
}

// Of the token that ends before `end`, or one character before where the parser has looked ahead.
std::size_t BeginningOfToken(const std::string& text, std::size_t end) {
    const auto isOfWord = [&](std::size_t i) {
        const auto character = static_cast<unsigned char>(text[i]);
        return std::isalnum(character) != 0 || character == '-' || character == '+' || character == '.';
    };
    std::size_t last = end > 0 ? end - 1 : 0;
    if (last > 0 && text[last] != '"' && text[last] != '{' && text[last] != '[' && !isOfWord(last))
        --last;
    if (text[last] == '"') {
        do
            --last;
        while (last > 0 && (text[last] != '"' || IsEscaped(text, last)));
        return last;
    }
    while (last > 0 && isOfWord(last) && isOfWord(last - 1))
        --last;
    return last;
}

// Follows the parser, since the parsed value no longer shows that a member stood twice, nor where it stood.
class CFollower {
public:
    // `read` is how far the parser has read the text.
    CFollower(const std::string& text, const std::size_t& read, JsonPositions* positions)
        : text_(text), read_(read), positions_(positions) {}

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
        if (open_.empty())
            return;
        if (open_.back().isArray)
            note(next());
        ++open_.back().entries;
    }

    // The parser has just read the name or the value of the place.
    void note(const std::string& place) {
        if (positions_)
            (*positions_)[place] = BeginningOfToken(text_, read_); // of a name that stands twice the second
    }

    void name(const std::string& name) {
        SOpen& object = open_.back();
        object.current = name;
        note(MemberPlace(object.place, name));
        if (!object.names.insert(name).second)
            throw CJsonRefusal(MemberPlace(object.place, name), "this member stands twice");
    }

    const std::string& text_;
    const std::size_t& read_;
    JsonPositions* const positions_;
    std::vector<SOpen> open_;
};

// The library's own text, without its number and place.
std::string ReasonOf(const json::parse_error& error) {
    const std::string text = error.what();
    const std::size_t place = text.find("column ");
    const std::size_t reason = text.find(": ", place);
    return reason == std::string::npos ? text : text.substr(reason + 2);
}

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::vector<std::string> NamesOf(const std::vector<CJsonNode::SMember>& members) {
    std::vector<std::string> names;
    for (const CJsonNode::SMember& member : members)
        names.emplace_back(member.name);
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

std::string LineAndColumn(const std::string& text, std::size_t byte) {
    const std::string before = text.substr(0, byte);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 when there is none
    return "line " + std::to_string(line) + ", column " + std::to_string(before.size() - lineStart + 1);
}

json ParseJson(const std::string& text, JsonPositions* positions) {
    std::size_t read = 0;
    CFollower follower(text, read, positions);
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    try {
        return json::parse(
            CReader(begin, begin, &read), CReader(end, begin, &read),
            [&](int, json::parse_event_t event, json& parsed) { return follower(event, parsed); });
    } catch (const json::parse_error& error) {
        throw CJsonRefusal(LineAndColumn(text, error.byte > 0 ? error.byte - 1 : 0), ReasonOf(error));
    } catch (const json::out_of_range&) { // which tells no line
        throw CJsonRefusal(follower.next(), "this number is too large");
    }
}

void CJsonNode::refuseName(const std::string& reason, const std::string& name,
                           const std::vector<std::string>& known) const {
    refuse(known.empty() ? reason : reason + "; expected one of " + Listed(known) + DidYouMean(name, known));
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
    const auto find = [&members](const std::string& name) {
        return std::find_if(members.begin(), members.end(),
                            [&](const SMember& member) { return name == member.name; });
    };
    eachMember([&](const std::string& name, const CJsonNode& node) {
        if (find(name) == members.end())
            node.refuseName("unknown member", name, NamesOf(members));
    });
    for (const SMember& member : members)
        if (member.presence == SMember::Required && !value_.contains(member.name))
            refuse("missing member \"" + std::string(member.name) + "\"");
    eachMember([&](const std::string& name, const CJsonNode& node) { find(name)->read(node); });
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
