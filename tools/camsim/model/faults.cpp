#include "model/faults.h"

#include "model/numbers.h"

#include <algorithm>
#include <cctype>
#include <fnmatch.h>
#include <numeric>
#include <sstream>

namespace camsim {
namespace {

using Json = nlohmann::json;

constexpr int64_t LongestMilliseconds = 24 * 60 * 60 * 1000;
constexpr unsigned LowestRefusal = 400;
constexpr int64_t LargestBody = 64 * 1024 * 1024;
constexpr size_t LongestPattern = 1024;
constexpr size_t MostFaults = 1000;
constexpr size_t MostText = 4 * 1024 * 1024; // in the bodies of all faults
constexpr size_t MostGarbage = 64 * 1024;    // sent in one write, so it must fit into the socket's buffer

// A member of a fault: whether a value is right, where it goes and what is told when it is wrong.
struct SMember {
    const char* name;
    const char* expected;
    bool (*read)(const Json& value, SFault& fault);
    void (*write)(const SFault& fault, Json& json);
};

std::optional<int64_t> NumberBetween(const Json& value, int64_t minimum, int64_t maximum) {
    if (!value.is_number_integer())
        return std::nullopt;
    if (value.is_number_unsigned() && value.get<uint64_t>() > static_cast<uint64_t>(maximum))
        return std::nullopt;
    const int64_t number = value.get<int64_t>();
    return minimum <= number && number <= maximum ? std::optional<int64_t>(number) : std::nullopt;
}

template <typename Field>
bool ReadNumber(const Json& value, int64_t minimum, int64_t maximum, Field& field) {
    const std::optional<int64_t> number = NumberBetween(value, minimum, maximum);
    if (number)
        field = static_cast<std::decay_t<decltype(*number)>>(*number);
    return number.has_value();
}

template <typename Field>
bool ReadText(const Json& value, Field& field) {
    if (!value.is_string())
        return false;
    field = value.get<std::string>();
    return true;
}

template <typename Value>
void WriteIf(Json& json, const char* name, const std::optional<Value>& value) {
    if (value)
        json[name] = *value;
}

constexpr int64_t AnyCount = INT64_MAX;

const SMember Members[] = {
    {"path", "a shell pattern such as /cgi-bin/setdata*, 1024 characters at most",
     [](const Json& v, SFault& f) {
         return ReadText(v, f.path) && !f.path.empty() && f.path.size() <= LongestPattern;
     },
     [](const SFault& f, Json& j) { j["path"] = f.path; }},
    {"method", "GET or POST",
     [](const Json& v, SFault& f) {
         return ReadText(v, f.method) && (f.method == "GET" || f.method == "POST");
     },
     [](const SFault& f, Json& j) { WriteIf(j, "method", f.method); }},
    {"camera", "the number of a camera, counted from 0",
     [](const Json& v, SFault& f) { return ReadNumber(v, 0, AnyCount, f.camera); },
     [](const SFault& f, Json& j) { WriteIf(j, "camera", f.camera); }},
    {"ms", "a number of milliseconds, a day at most",
     [](const Json& v, SFault& f) { return ReadNumber(v, 0, LongestMilliseconds, f.milliseconds); },
     [](const SFault& f, Json& j) { WriteIf(j, "ms", f.milliseconds); }},
    {"status", "a status from 200 to 599",
     [](const Json& v, SFault& f) { return ReadNumber(v, 200, 599, f.status); },
     [](const SFault& f, Json& j) {
         WriteIf(j, "status", f.status != 0 ? std::optional(f.status) : std::nullopt);
     }},
    {"body", "a text", [](const Json& v, SFault& f) { return ReadText(v, f.body); },
     [](const SFault& f, Json& j) { WriteIf(j, "body", f.body); }},
    {"size", "a number of bytes, 64 MiB at most",
     [](const Json& v, SFault& f) { return ReadNumber(v, 0, LargestBody, f.size); },
     [](const SFault& f, Json& j) { WriteIf(j, "size", f.size); }},
    {"bytes", "a number of bytes, 64 MiB at most",
     [](const Json& v, SFault& f) { return ReadNumber(v, 0, LargestBody, f.bytes); },
     [](const SFault& f, Json& j) { WriteIf(j, "bytes", f.bytes); }},
    {"count", "how many requests it hits, 1 or more",
     [](const Json& v, SFault& f) { return ReadNumber(v, 1, AnyCount, f.count); },
     [](const SFault& f, Json& j) { WriteIf(j, "count", f.count); }},
    {"skip", "how many matching requests it lets pass first",
     [](const Json& v, SFault& f) { return ReadNumber(v, 0, AnyCount, f.skip); },
     [](const SFault& f, Json& j) { j["skip"] = f.skip; }},
    {"unauthorized", "true or false",
     [](const Json& v, SFault& f) {
         if (v.is_boolean())
             f.unauthorized = v.get<bool>();
         return v.is_boolean();
     },
     [](const SFault& f, Json& j) { j["unauthorized"] = f.unauthorized; }},
};

// The members that a kind has beside those that every fault has, those that it cannot do without, and the
// protocols whose requests it hits.
struct SKindRule {
    FaultKind kind;
    std::string_view name;
    std::vector<std::string_view> members;
    std::vector<std::string_view> required;
    std::vector<FaultProtocol> protocols;
};

const std::vector<SKindRule>& KindRules() {
    constexpr FaultProtocol Http = FaultProtocol::Http;
    constexpr FaultProtocol Monitor = FaultProtocol::Monitor;
    constexpr FaultProtocol Rtsp = FaultProtocol::Rtsp;
    static const std::vector<SKindRule> rules{
        {FaultKind::Delay, "delay", {"ms"}, {"ms"}, {Http}},
        {FaultKind::Status, "status", {"status", "body"}, {"status"}, {Http}},
        {FaultKind::Drop, "drop", {}, {}, {Http}},
        {FaultKind::Reset, "reset", {"ms"}, {}, {Http}},
        {FaultKind::Cut, "cut", {"bytes", "ms"}, {}, {Http, Rtsp}},
        {FaultKind::Stall, "stall", {"bytes", "ms"}, {}, {Http}},
        {FaultKind::Garbage, "garbage", {"size"}, {}, {Http}},
        {FaultKind::Body, "body", {"body", "size"}, {}, {Http}},
        {FaultKind::Stale, "stale", {}, {}, {Http}},
        {FaultKind::Deny, "deny", {}, {}, {Http}},
        {FaultKind::Empty, "empty", {}, {}, {Http}},
        {FaultKind::Refuse, "refuse", {"status"}, {}, {Rtsp}},
        {FaultKind::Silence, "silence", {"ms"}, {}, {Monitor, Rtsp}},
        {FaultKind::Close, "close", {"ms"}, {}, {Monitor}},
        {FaultKind::Split, "split", {"ms"}, {}, {Monitor}},
        {FaultKind::WrongCase, "wrongcase", {}, {}, {Monitor}},
    };
    return rules;
}

constexpr std::string_view MembersOfEveryKind[] = {"path",  "method", "camera",
                                                   "count", "skip",   "unauthorized"};

template <typename List, typename Item>
bool Contains(const List& list, const Item& item) {
    return std::find(std::begin(list), std::end(list), item) != std::end(list);
}

const SKindRule& RuleOf(FaultKind kind) {
    return *std::find_if(KindRules().begin(), KindRules().end(),
                         [&](const SKindRule& known) { return known.kind == kind; });
}

const SKindRule& ReadKind(const Json& json) {
    const Json kind = json.value("kind", Json());
    for (const SKindRule& rule : KindRules())
        if (kind == Json(rule.name))
            return rule;
    std::string names;
    for (const SKindRule& rule : KindRules())
        names.append(names.empty() ? "" : ", ").append(rule.name);
    throw CFaultError("kind: expected one of " + names);
}

void ReadMember(const std::string& name, const Json& value, const SKindRule& rule, SFault& fault) {
    const auto member = std::find_if(std::begin(Members), std::end(Members),
                                     [&](const SMember& known) { return name == known.name; });
    if (member == std::end(Members))
        throw CFaultError(name + ": there is no such member");
    if (!Contains(MembersOfEveryKind, name) && !Contains(rule.members, name))
        throw CFaultError(name + ": the kind " + std::string(rule.name) + " has no such member");
    if (!member->read(value, fault))
        throw CFaultError(name + ": expected " + member->expected);
}

void CheckWhole(const Json& json, const SKindRule& rule, const SFault& fault, size_t cameraCount) {
    for (const std::string_view name : rule.required)
        if (!json.contains(std::string(name)))
            throw CFaultError(std::string(name) + ": the kind " + std::string(rule.name) + " needs it");
    if (!json.contains("path"))
        throw CFaultError("path: every fault needs it");
    if (fault.kind == FaultKind::Body && fault.body.has_value() == fault.size.has_value())
        throw CFaultError("body: the kind body needs either body or size");
    if (fault.kind == FaultKind::Garbage && fault.size.value_or(0) > MostGarbage)
        throw CFaultError("size: expected at most " + std::to_string(MostGarbage) + " bytes of garbage");
    if (fault.kind == FaultKind::Refuse && fault.status != 0 && fault.status < LowestRefusal)
        throw CFaultError("status: expected " + std::to_string(LowestRefusal) + " or more for a refusal");
    if (fault.camera && *fault.camera >= cameraCount)
        throw CFaultError("camera: there are " + std::to_string(cameraCount) + " cameras, counted from 0");
}

// A monitor is hit by what hits any HTTP request, too.
bool HitsProtocol(const SFault& fault, FaultProtocol protocol) {
    const std::vector<FaultProtocol>& hit = RuleOf(fault.kind).protocols;
    return Contains(hit, protocol) ||
           (protocol == FaultProtocol::Monitor && Contains(hit, FaultProtocol::Http));
}

bool IsSpent(const SFault& fault) {
    return fault.count && *fault.count == 0;
}

size_t TextOf(const SFault& fault) {
    return fault.body ? fault.body->size() : 0;
}

size_t TextOf(const std::vector<SFault>& faults) {
    return std::accumulate(faults.begin(), faults.end(), size_t{0},
                           [](size_t sum, const SFault& fault) { return sum + TextOf(fault); });
}

bool Matches(const SFault& fault, const CFaultList::SRequest& request) {
    if (!HitsProtocol(fault, request.protocol))
        return false;
    if (fault.camera && *fault.camera != request.camera)
        return false;
    if (fault.method && *fault.method != request.method)
        return false;
    if (!request.authorized && !fault.unauthorized)
        return false;
    if (fault.kind == FaultKind::Stale && !request.digest)
        return false;
    return fnmatch(fault.path.c_str(), request.path.c_str(), 0) == 0 ||
           fnmatch(fault.path.c_str(), request.target.c_str(), 0) == 0;
}

// A JSON text in double quotes; its opening quote comes next.
Json ReadQuoted(std::istream& words) {
    std::string text(1, static_cast<char>(words.get()));
    bool escaped = false;
    for (char c = 0; words.get(c);) {
        text += c;
        if (c == '"' && !escaped)
            break;
        escaped = c == '\\' && !escaped;
    }
    const Json value = Json::parse(text, nullptr, false);
    if (value.is_discarded())
        throw CFaultError(text + ": expected a JSON text in double quotes");
    return value;
}

// What stands behind "key=": to the next white space, or a JSON text.
Json ReadValue(std::istream& words) {
    if (words.peek() == '"')
        return ReadQuoted(words);
    std::string value;
    if (!std::isspace(words.peek()))
        words >> value;
    if (const std::optional<int64_t> number = ParseNumber<int64_t>(value))
        return *number;
    return value == "true" || value == "false" ? Json(value == "true") : Json(value);
}

} // namespace

std::string_view FaultKindName(FaultKind kind) {
    return RuleOf(kind).name;
}

SFault ParseFault(const Json& json, size_t cameraCount) {
    if (!json.is_object())
        throw CFaultError("expected an object with path and kind");
    const SKindRule& rule = ReadKind(json);
    SFault fault;
    fault.kind = rule.kind;
    if (fault.kind == FaultKind::Stale)
        fault.count = 1;
    for (const auto& [name, value] : json.items())
        if (name != "kind")
            ReadMember(name, value, rule, fault);
    CheckWhole(json, rule, fault, cameraCount);
    return fault;
}

SFault ParseFaultText(const std::string& text, size_t cameraCount) {
    std::istringstream words(text);
    std::string path;
    std::string kind;
    words >> path >> kind;
    Json json{{"path", path}, {"kind", kind}};
    for (std::string key; words >> std::ws && std::getline(words, key, '=');) {
        if (words.eof() || key.find_first_of(" \t") != key.npos)
            throw CFaultError("'" + key + "': expected key=value");
        json[key] = ReadValue(words);
    }
    return ParseFault(json, cameraCount);
}

Json DescribeFault(const SFault& fault) {
    Json json{{"id", fault.id}, {"kind", FaultKindName(fault.kind)}, {"hits", fault.hits}};
    if (!fault.name.empty())
        json["name"] = fault.name;
    for (const SMember& member : Members)
        member.write(fault, json);
    return json;
}

uint64_t CFaultList::add(SFault fault) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const size_t text = TextOf(fault);
    while (faults_.size() >= MostFaults || text + TextOf(faults_) > MostText) {
        const auto oldest = std::find_if(faults_.begin(), faults_.end(), IsSpent);
        if (oldest == faults_.end())
            throw CFaultError("there are " + std::to_string(faults_.size()) +
                              " faults, as many as may be, or as may be with such bodies: delete some first");
        faults_.erase(oldest);
    }
    fault.id = ++last_;
    faults_.push_back(std::move(fault));
    return last_;
}

bool CFaultList::remove(uint64_t id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto gone =
        std::find_if(faults_.begin(), faults_.end(), [&](const SFault& f) { return f.id == id; });
    if (gone == faults_.end())
        return false;
    faults_.erase(gone);
    return true;
}

std::string CFaultList::nameOf(uint64_t id) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found =
        std::find_if(faults_.begin(), faults_.end(), [&](const SFault& f) { return f.id == id; });
    return found == faults_.end() ? "" : found->name;
}

void CFaultList::removeNamed(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    faults_.erase(
        std::remove_if(faults_.begin(), faults_.end(), [&](const SFault& f) { return f.name == name; }),
        faults_.end());
}

void CFaultList::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    faults_.clear();
}

std::vector<SFault> CFaultList::list() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return faults_;
}

SFaultOutcome CFaultList::take(const SRequest& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    SFaultOutcome outcome;
    for (SFault& fault : faults_) {
        const bool isDelay = fault.kind == FaultKind::Delay;
        if (IsSpent(fault) || (!isDelay && outcome.fault) || !Matches(fault, request))
            continue;
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.count)
            --*fault.count;
        ++fault.hits;
        outcome.names.append(outcome.names.empty() ? "" : "+").append(FaultKindName(fault.kind));
        if (isDelay)
            outcome.delay += std::chrono::milliseconds(*fault.milliseconds);
        else
            outcome.fault = fault;
    }
    return outcome;
}

} // namespace camsim
