#include "model/camera_data.h"
#include "model/fault_kinds.h"
#include "model/numbers.h"
#include "model/stream_profile.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace camsim {
namespace {

using Json = nlohmann::json;

constexpr int64_t LongestMilliseconds = 24 * 60 * 60 * 1000;
constexpr int64_t LongestSeconds = int64_t{100} * 366 * 24 * 60 * 60;
constexpr unsigned LowestRefusal = 300;
constexpr int64_t LargestBody = 64 * 1024 * 1024;
constexpr size_t LongestPattern = 1024;
constexpr size_t MostGarbage = 64 * 1024; // sent in one write, so it must fit into the socket's buffer

constexpr size_t MostHeader = 1024 * 1024;

constexpr std::string_view Methods[] = {"GET", "POST", "OPTIONS", "DESCRIBE", "SETUP", "PLAY"};

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

bool ReadFlag(const Json& value, bool& field) {
    if (value.is_boolean())
        field = value.get<bool>();
    return value.is_boolean();
}

bool IsOneLine(const std::string& text) {
    return text.find_first_of(std::string("\r\n\0", 3)) == text.npos;
}

template <typename List, typename Item>
bool Contains(const List& list, const Item& item) {
    return std::find(std::begin(list), std::end(list), item) != std::end(list);
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
    {"method", "GET or POST, or of RTSP OPTIONS, DESCRIBE, SETUP or PLAY",
     [](const Json& v, SFault& f) { return ReadText(v, f.method) && Contains(Methods, *f.method); },
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
    {"seconds", "a number of seconds, 100 years at most",
     [](const Json& v, SFault& f) { return ReadNumber(v, -LongestSeconds, LongestSeconds, f.seconds); },
     [](const SFault& f, Json& j) { WriteIf(j, "seconds", f.seconds); }},
    {"location", "a text without line ends",
     [](const Json& v, SFault& f) { return ReadText(v, f.location) && IsOneLine(*f.location); },
     [](const SFault& f, Json& j) { WriteIf(j, "location", f.location); }},
    {"challenge", "a text without line ends",
     [](const Json& v, SFault& f) { return ReadText(v, f.challenge) && IsOneLine(*f.challenge); },
     [](const SFault& f, Json& j) { WriteIf(j, "challenge", f.challenge); }},
    {"media", "audio", [](const Json& v, SFault& f) { return ReadText(v, f.media) && f.media == "audio"; },
     [](const SFault& f, Json& j) { WriteIf(j, "media", f.media); }},
    {"codec", "h264, mpeg4 or jpeg",
     [](const Json& v, SFault& f) { return ReadText(v, f.codec) && CodecNamed(*f.codec).has_value(); },
     [](const SFault& f, Json& j) { WriteIf(j, "codec", f.codec); }},
    {"width", "an even number of pixels from 16 to 1920",
     [](const Json& v, SFault& f) { return ReadNumber(v, 16, 1920, f.width) && *f.width % 2 == 0; },
     [](const SFault& f, Json& j) { WriteIf(j, "width", f.width); }},
    {"height", "an even number of pixels from 16 to 1920",
     [](const Json& v, SFault& f) { return ReadNumber(v, 16, 1920, f.height) && *f.height % 2 == 0; },
     [](const SFault& f, Json& j) { WriteIf(j, "height", f.height); }},
    {"rate", "a number of frames a second from 1 to 60",
     [](const Json& v, SFault& f) { return ReadNumber(v, 1, 60, f.rate); },
     [](const SFault& f, Json& j) { WriteIf(j, "rate", f.rate); }},
    {"model", "one of the models that come with the program",
     [](const Json& v, SFault& f) {
         return ReadText(v, f.model) && Contains(EmbeddedModelNumbers(), *f.model);
     },
     [](const SFault& f, Json& j) { WriteIf(j, "model", f.model); }},
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
    {"every", "1 or more: it hits only each so-many-th of the requests that it would",
     [](const Json& v, SFault& f) { return ReadNumber(v, 1, AnyCount, f.every); },
     [](const SFault& f, Json& j) { WriteIf(j, "every", f.every); }},
    {"written", "true or false", [](const Json& v, SFault& f) { return ReadFlag(v, f.written); },
     [](const SFault& f, Json& j) { j["written"] = f.written; }},
    {"unauthorized", "true or false", [](const Json& v, SFault& f) { return ReadFlag(v, f.unauthorized); },
     [](const SFault& f, Json& j) { j["unauthorized"] = f.unauthorized; }},
};

constexpr std::string_view MembersOfEveryKind[] = {"path", "method", "camera",  "count",
                                                   "skip", "every",  "written", "unauthorized"};

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

size_t GarbageOf(const SFault& fault) {
    return fault.body ? fault.body->size() : fault.size.value_or(0);
}

bool IsMethodOfRtsp(const SFault& fault) {
    return fault.method && *fault.method != "GET" && *fault.method != "POST";
}

void CheckPort(const Json& json, const SKindRule& rule, const SFault& fault) {
    const bool hitsPorts = Contains(rule.protocols, FaultProtocol::Port);
    if (IsOfPort(fault) && !hitsPorts)
        throw CFaultError("kind: a port takes refuse, drop, reset, garbage, stall and tls, and not " +
                          std::string(rule.name));
    if (!IsOfPort(fault) && hitsPorts && rule.protocols.size() == 1)
        throw CFaultError("path: the kind " + std::string(rule.name) + " hits web-port and rtsp-port alone");
    if (IsOfPort(fault) && fault.kind == FaultKind::Refuse)
        for (const char* name : {"count", "skip", "every", "status"})
            if (json.contains(name))
                throw CFaultError(std::string(name) + ": connections that are refused are not counted");
}

void CheckWhole(const Json& json, const SKindRule& rule, const SFault& fault, size_t cameraCount) {
    for (const std::string_view name : rule.required)
        if (!json.contains(std::string(name)))
            throw CFaultError(std::string(name) + ": the kind " + std::string(rule.name) + " needs it");
    if (!json.contains("path"))
        throw CFaultError("path: every fault needs it");
    if (fault.kind == FaultKind::Body && fault.body.has_value() == fault.size.has_value())
        throw CFaultError("body: the kind body needs either body or size");
    if (fault.kind == FaultKind::Clock && fault.body.has_value() == fault.seconds.has_value())
        throw CFaultError("seconds: the kind clock needs either seconds or body");
    if (fault.kind == FaultKind::Clock && !IsOneLine(fault.body.value_or("")))
        throw CFaultError("body: expected a date without line ends");
    if (fault.kind == FaultKind::Garbage && fault.body.has_value() && fault.size.has_value())
        throw CFaultError("body: the kind garbage takes either body or size");
    if (fault.kind == FaultKind::Garbage && GarbageOf(fault) > MostGarbage)
        throw CFaultError("size: expected at most " + std::to_string(MostGarbage) + " bytes of garbage");
    if (fault.kind == FaultKind::Header && *fault.size > MostHeader)
        throw CFaultError("size: expected at most " + std::to_string(MostHeader) + " bytes of header");
    if (IsMethodOfRtsp(fault) && fault.kind != FaultKind::Refuse)
        throw CFaultError("method: of RTSP's methods only the kind refuse takes one");
    if (fault.kind == FaultKind::Encode && !fault.codec && !fault.width && !fault.height && !fault.rate)
        throw CFaultError("codec: the kind encode needs codec, width, height or rate");
    if (fault.kind == FaultKind::Refuse && fault.status != 0 && fault.status < LowestRefusal)
        throw CFaultError("status: expected " + std::to_string(LowestRefusal) + " or more for a refusal");
    CheckPort(json, rule, fault);
    if (fault.camera && *fault.camera >= cameraCount)
        throw CFaultError("camera: there are " + std::to_string(cameraCount) + " cameras, counted from 0");
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
    Json value = Json::parse(text, nullptr, false);
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

SFault ParseFault(const Json& json, size_t cameraCount) {
    if (!json.is_object())
        throw CFaultError("expected an object with path and kind");
    const SKindRule& rule = ReadKind(json);
    SFault fault;
    fault.kind = rule.kind;
    if (fault.kind == FaultKind::Stale)
        fault.count = 1;
    if (fault.kind == FaultKind::Basic)
        fault.unauthorized = true; // those that have no Basic credentials yet are asked for them
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

} // namespace camsim
