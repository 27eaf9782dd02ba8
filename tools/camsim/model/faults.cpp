#include "model/faults.h"

#include "model/numbers.h"

#include <algorithm>
#include <fnmatch.h>
#include <numeric>
#include <sstream>

namespace camsim {
namespace {

using Json = nlohmann::json;

constexpr int64_t longestMilliseconds = 24 * 60 * 60 * 1000;
constexpr unsigned lowestRefusal = 400;
constexpr int64_t largestBody = 64 * 1024 * 1024;
constexpr size_t longestPattern = 1024;
constexpr size_t mostFaults = 1000;
constexpr size_t mostText = 4 * 1024 * 1024; // in the bodies of all faults
constexpr size_t mostGarbage = 64 * 1024; // goes out at one stroke, so it must fit into the socket's buffer

/// A member of a fault: whether a value is right, where it goes and what is told when it is wrong.
struct Member {
    const char* name;
    const char* expected;
    bool (*read)(const Json& value, Fault& fault);
    void (*write)(const Fault& fault, Json& json);
};

std::optional<int64_t> numberBetween(const Json& value, int64_t minimum, int64_t maximum) {
    if (!value.is_number_integer())
        return std::nullopt;
    if (value.is_number_unsigned() && value.get<uint64_t>() > static_cast<uint64_t>(maximum))
        return std::nullopt;
    const int64_t number = value.get<int64_t>();
    return minimum <= number && number <= maximum ? std::optional<int64_t>(number) : std::nullopt;
}

template <typename Field>
bool readNumber(const Json& value, int64_t minimum, int64_t maximum, Field& field) {
    const std::optional<int64_t> number = numberBetween(value, minimum, maximum);
    if (number)
        field = static_cast<std::decay_t<decltype(*number)>>(*number);
    return number.has_value();
}

template <typename Field>
bool readText(const Json& value, Field& field) {
    if (!value.is_string())
        return false;
    field = value.get<std::string>();
    return true;
}

template <typename Value>
void writeIf(Json& json, const char* name, const std::optional<Value>& value) {
    if (value)
        json[name] = *value;
}

constexpr int64_t anyCount = INT64_MAX;

const Member members[] = {
    {"path", "a shell pattern such as /cgi-bin/setdata*, 1024 characters at most",
     [](const Json& v, Fault& f) {
         return readText(v, f.path) && !f.path.empty() && f.path.size() <= longestPattern;
     },
     [](const Fault& f, Json& j) { j["path"] = f.path; }},
    {"method", "GET or POST",
     [](const Json& v, Fault& f) {
         return readText(v, f.method) && (f.method == "GET" || f.method == "POST");
     },
     [](const Fault& f, Json& j) { writeIf(j, "method", f.method); }},
    {"camera", "the number of a camera, counted from 0",
     [](const Json& v, Fault& f) { return readNumber(v, 0, anyCount, f.camera); },
     [](const Fault& f, Json& j) { writeIf(j, "camera", f.camera); }},
    {"ms", "a number of milliseconds, a day at most",
     [](const Json& v, Fault& f) { return readNumber(v, 0, longestMilliseconds, f.milliseconds); },
     [](const Fault& f, Json& j) { writeIf(j, "ms", f.milliseconds); }},
    {"status", "a status from 200 to 599",
     [](const Json& v, Fault& f) { return readNumber(v, 200, 599, f.status); },
     [](const Fault& f, Json& j) {
         writeIf(j, "status", f.status != 0 ? std::optional(f.status) : std::nullopt);
     }},
    {"body", "a text", [](const Json& v, Fault& f) { return readText(v, f.body); },
     [](const Fault& f, Json& j) { writeIf(j, "body", f.body); }},
    {"size", "a number of bytes, 64 MiB at most",
     [](const Json& v, Fault& f) { return readNumber(v, 0, largestBody, f.size); },
     [](const Fault& f, Json& j) { writeIf(j, "size", f.size); }},
    {"bytes", "a number of bytes, 64 MiB at most",
     [](const Json& v, Fault& f) { return readNumber(v, 0, largestBody, f.bytes); },
     [](const Fault& f, Json& j) { writeIf(j, "bytes", f.bytes); }},
    {"count", "how many requests it hits, 1 or more",
     [](const Json& v, Fault& f) { return readNumber(v, 1, anyCount, f.count); },
     [](const Fault& f, Json& j) { writeIf(j, "count", f.count); }},
    {"skip", "how many matching requests it lets pass first",
     [](const Json& v, Fault& f) { return readNumber(v, 0, anyCount, f.skip); },
     [](const Fault& f, Json& j) { j["skip"] = f.skip; }},
    {"unauthorized", "true or false",
     [](const Json& v, Fault& f) {
         if (v.is_boolean())
             f.unauthorized = v.get<bool>();
         return v.is_boolean();
     },
     [](const Fault& f, Json& j) { j["unauthorized"] = f.unauthorized; }},
};

/// The members that a kind has beside those that every fault has, those that it cannot do without, and the
/// protocols whose requests it hits.
struct KindRule {
    FaultKind kind;
    std::string_view name;
    std::vector<std::string_view> members;
    std::vector<std::string_view> required;
    std::vector<FaultProtocol> protocols;
};

const std::vector<KindRule>& kindRules() {
    constexpr FaultProtocol http = FaultProtocol::Http;
    constexpr FaultProtocol monitor = FaultProtocol::Monitor;
    constexpr FaultProtocol rtsp = FaultProtocol::Rtsp;
    static const std::vector<KindRule> rules{
        {FaultKind::Delay, "delay", {"ms"}, {"ms"}, {http}},
        {FaultKind::Status, "status", {"status", "body"}, {"status"}, {http}},
        {FaultKind::Drop, "drop", {}, {}, {http}},
        {FaultKind::Reset, "reset", {"ms"}, {}, {http}},
        {FaultKind::Cut, "cut", {"bytes", "ms"}, {}, {http, rtsp}},
        {FaultKind::Stall, "stall", {"bytes", "ms"}, {}, {http}},
        {FaultKind::Garbage, "garbage", {"size"}, {}, {http}},
        {FaultKind::Body, "body", {"body", "size"}, {}, {http}},
        {FaultKind::Stale, "stale", {}, {}, {http}},
        {FaultKind::Empty, "empty", {}, {}, {http}},
        {FaultKind::Refuse, "refuse", {"status"}, {}, {rtsp}},
        {FaultKind::Silence, "silence", {"ms"}, {}, {monitor, rtsp}},
        {FaultKind::Close, "close", {"ms"}, {}, {monitor}},
        {FaultKind::Split, "split", {"ms"}, {}, {monitor}},
        {FaultKind::WrongCase, "wrongcase", {}, {}, {monitor}},
    };
    return rules;
}

constexpr std::string_view membersOfEveryKind[] = {"path",  "method", "camera",
                                                   "count", "skip",   "unauthorized"};

template <typename List, typename Item>
bool contains(const List& list, const Item& item) {
    return std::find(std::begin(list), std::end(list), item) != std::end(list);
}

const KindRule& ruleOf(FaultKind kind) {
    return *std::find_if(kindRules().begin(), kindRules().end(),
                         [&](const KindRule& known) { return known.kind == kind; });
}

const KindRule& readKind(const Json& json) {
    const Json kind = json.value("kind", Json());
    for (const KindRule& rule : kindRules())
        if (kind == Json(rule.name))
            return rule;
    std::string names;
    for (const KindRule& rule : kindRules())
        names.append(names.empty() ? "" : ", ").append(rule.name);
    throw FaultError("kind: expected one of " + names);
}

void readMember(const std::string& name, const Json& value, const KindRule& rule, Fault& fault) {
    const auto member = std::find_if(std::begin(members), std::end(members),
                                     [&](const Member& known) { return name == known.name; });
    if (member == std::end(members))
        throw FaultError(name + ": there is no such member");
    if (!contains(membersOfEveryKind, name) && !contains(rule.members, name))
        throw FaultError(name + ": the kind " + std::string(rule.name) + " has no such member");
    if (!member->read(value, fault))
        throw FaultError(name + ": expected " + member->expected);
}

void checkWhole(const Json& json, const KindRule& rule, const Fault& fault, size_t cameraCount) {
    for (const std::string_view name : rule.required)
        if (!json.contains(std::string(name)))
            throw FaultError(std::string(name) + ": the kind " + std::string(rule.name) + " needs it");
    if (!json.contains("path"))
        throw FaultError("path: every fault needs it");
    if (fault.kind == FaultKind::Body && fault.body.has_value() == fault.size.has_value())
        throw FaultError("body: the kind body needs either body or size");
    if (fault.kind == FaultKind::Garbage && fault.size.value_or(0) > mostGarbage)
        throw FaultError("size: expected at most " + std::to_string(mostGarbage) + " bytes of garbage");
    if (fault.kind == FaultKind::Refuse && fault.status != 0 && fault.status < lowestRefusal)
        throw FaultError("status: expected " + std::to_string(lowestRefusal) + " or more for a refusal");
    if (fault.camera && *fault.camera >= cameraCount)
        throw FaultError("camera: there are " + std::to_string(cameraCount) + " cameras, counted from 0");
}

/// A monitor is hit by what hits any HTTP request, too.
bool hitsProtocol(const Fault& fault, FaultProtocol protocol) {
    const std::vector<FaultProtocol>& hit = ruleOf(fault.kind).protocols;
    return contains(hit, protocol) ||
           (protocol == FaultProtocol::Monitor && contains(hit, FaultProtocol::Http));
}

bool isSpent(const Fault& fault) {
    return fault.count && *fault.count == 0;
}

size_t textOf(const Fault& fault) {
    return fault.body ? fault.body->size() : 0;
}

size_t textOf(const std::vector<Fault>& faults) {
    return std::accumulate(faults.begin(), faults.end(), size_t{0},
                           [](size_t sum, const Fault& fault) { return sum + textOf(fault); });
}

bool matches(const Fault& fault, const FaultList::Request& request) {
    if (!hitsProtocol(fault, request.protocol))
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

} // namespace

std::string_view faultKindName(FaultKind kind) {
    return ruleOf(kind).name;
}

Fault parseFault(const Json& json, size_t cameraCount) {
    if (!json.is_object())
        throw FaultError("expected an object with path and kind");
    const KindRule& rule = readKind(json);
    Fault fault;
    fault.kind = rule.kind;
    if (fault.kind == FaultKind::Stale)
        fault.count = 1;
    for (const auto& [name, value] : json.items())
        if (name != "kind")
            readMember(name, value, rule, fault);
    checkWhole(json, rule, fault, cameraCount);
    return fault;
}

Fault parseFaultText(const std::string& text, size_t cameraCount) {
    std::istringstream words(text);
    std::string path;
    std::string kind;
    words >> path >> kind;
    Json json{{"path", path}, {"kind", kind}};
    for (std::string word; words >> word;) {
        const size_t equals = word.find('=');
        if (equals == word.npos)
            throw FaultError("'" + word + "': expected key=value");
        const std::string value = word.substr(equals + 1);
        const std::optional<int64_t> number = parseNumber<int64_t>(value);
        Json& member = json[word.substr(0, equals)];
        if (number)
            member = *number;
        else if (value == "true" || value == "false")
            member = value == "true";
        else
            member = value;
    }
    return parseFault(json, cameraCount);
}

Json describeFault(const Fault& fault) {
    Json json{{"id", fault.id}, {"kind", faultKindName(fault.kind)}, {"hits", fault.hits}};
    for (const Member& member : members)
        member.write(fault, json);
    return json;
}

uint64_t FaultList::add(Fault fault) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const size_t text = textOf(fault);
    while (faults_.size() >= mostFaults || text + textOf(faults_) > mostText) {
        const auto oldest = std::find_if(faults_.begin(), faults_.end(), isSpent);
        if (oldest == faults_.end())
            throw FaultError("there are " + std::to_string(faults_.size()) +
                             " faults, as many as may be, or as may be with such bodies: delete some first");
        faults_.erase(oldest);
    }
    fault.id = ++last_;
    faults_.push_back(std::move(fault));
    return last_;
}

bool FaultList::remove(uint64_t id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto gone =
        std::find_if(faults_.begin(), faults_.end(), [&](const Fault& f) { return f.id == id; });
    if (gone == faults_.end())
        return false;
    faults_.erase(gone);
    return true;
}

void FaultList::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    faults_.clear();
}

std::vector<Fault> FaultList::list() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return faults_;
}

FaultOutcome FaultList::take(const Request& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    FaultOutcome outcome;
    for (Fault& fault : faults_) {
        const bool isDelay = fault.kind == FaultKind::Delay;
        if (isSpent(fault) || (!isDelay && outcome.fault) || !matches(fault, request))
            continue;
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.count)
            --*fault.count;
        ++fault.hits;
        outcome.names.append(outcome.names.empty() ? "" : "+").append(faultKindName(fault.kind));
        if (isDelay)
            outcome.delay += std::chrono::milliseconds(*fault.milliseconds);
        else
            outcome.fault = fault;
    }
    return outcome;
}

} // namespace camsim
