#include "control/control_routes.h"

#include "control/control_access.h"
#include "model/numbers.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace camsim {
namespace {

using Json = nlohmann::json;
using SParts = CControlInterface::SParts;

class CControlError : public std::runtime_error {
public:
    CControlError(unsigned code, const std::string& text) : std::runtime_error(text), status(code) {}
    const unsigned status;
};

[[noreturn]] void Refuse(const std::string& text) {
    throw CControlError(MHD_HTTP_BAD_REQUEST, text);
}

// No request needs as many levels. JSON is walked through by recursion, so endless
// nesting would overflow the stack.
constexpr int DeepestBody = 16;

Json ParseBody(const std::string& body) {
    const auto checkDepth = [](int depth, Json::parse_event_t, const Json&) {
        if (depth > DeepestBody)
            Refuse("body: nested deeper than " + std::to_string(DeepestBody) + " levels");
        return true;
    };
    try {
        return Json::parse(body, checkDepth);
    } catch (const Json::exception& error) {
        Refuse("body: expected JSON: " + std::string(error.what()));
    }
}

// What stands for "N" in a route's path.
using Number = uint64_t;

CCamera& CameraOf(const SParts& parts, Number number) {
    if (number >= parts.cameras.size())
        throw CControlError(MHD_HTTP_NOT_FOUND, "there are " + std::to_string(parts.cameras.size()) +
                                                    " cameras, counted from 0, and no camera " +
                                                    std::to_string(number));
    return *parts.cameras[number];
}

Json DescribeHead(const CCamera& camera) {
    Json json = Json::object();
    for (const auto& [axis, position] : camera.headPlace())
        json[axis] = std::round(position * 100) / 100;
    json["moving"] = camera.headIsMoving();
    return json;
}

Json DescribeInputs(const CCamera& camera) {
    Json json = Json::object();
    const CAlarmInputs inputs = camera.alarmInputs();
    for (const auto& [terminal, level] : inputs.levels())
        json[std::to_string(terminal)] = CAlarmInputs::name(level);
    return json;
}

Json Describe(const SParts& parts, const CCamera& camera) {
    const SCameraCounters& counters = camera.counters;
    Json json{{"camera", camera.index()},
              {"model", camera.model().number},
              {"address", parts.listeners.address(camera.index())},
              {"serial", camera.serialNumber()},
              {"mac", camera.macAddress()},
              {"away", camera.away.load()},
              {"requests", counters.requests.load()},
              {"challenges", counters.challenges.load()},
              {"faults", counters.faults.load()},
              {"connections", counters.connections.load()}};
    if (parts.rtsp != nullptr) {
        json["rtsp"] = parts.rtsp->address(camera.index());
        json["rtspClients"] = counters.rtspClients.load();
    }
    if (!camera.model().axes.empty())
        json["position"] = DescribeHead(camera);
    if (Json inputs = DescribeInputs(camera); !inputs.empty()) {
        json["inputs"] = std::move(inputs);
        json["monitors"] = counters.monitors.load();
    }
    return json;
}

Json ListCameras(const SParts& parts, Number, const SControlRequest&) {
    Json list = Json::array();
    for (const auto& camera : parts.cameras)
        list.push_back(Describe(parts, *camera));
    return {{"cameras", std::move(list)}};
}

Json ShowCamera(const SParts& parts, Number number, const SControlRequest&) {
    return Describe(parts, CameraOf(parts, number));
}

Json ShowSettings(const SParts& parts, Number number, const SControlRequest&) {
    return CameraOf(parts, number).settings();
}

constexpr size_t LongestSetting = 4096; // far longer than any setting of a real camera

void CheckSetting(const std::string& key, const Json& value) {
    const bool keyGood = !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char c) {
        return std::isupper(c) || std::isdigit(c) || c == '_';
    });
    if (!keyGood)
        Refuse("'" + key + "': expected a key of capital letters, digits and underscores");
    if (value.is_null())
        return;
    const std::string* text = value.get_ptr<const std::string*>();
    if (text == nullptr || text->find_first_of("\"\r\n") != text->npos)
        Refuse(key + ": expected a text without quotes and line ends, or null to take the setting away");
    if (key.size() > LongestSetting || text->size() > LongestSetting)
        Refuse("a key or a value is longer than " + std::to_string(LongestSetting) + " characters");
}

Json ChangeSettings(const SParts& parts, Number number, const SControlRequest& request) {
    CCamera& camera = CameraOf(parts, number);
    const Json changes = ParseBody(request.body);
    if (!changes.is_object())
        Refuse("body: expected an object such as {\"CAMTITLE\": \"Entrance\"}");
    CSettingsStore::Overrides settings;
    for (const auto& [key, value] : changes.items()) {
        CheckSetting(key, value);
        settings[key] = value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
    }
    if (!camera.hasRoomFor(settings))
        Refuse("the camera's changed settings would take more than " +
               std::to_string(CSettingsStore::MostBytes) + " bytes");
    for (const auto& [key, value] : settings)
        camera.putSetting(key, value);
    return camera.settings();
}

Json ShowInputs(const SParts& parts, Number number, const SControlRequest&) {
    return DescribeInputs(CameraOf(parts, number));
}

Json ChangeInputs(const SParts& parts, Number number, const SControlRequest& request) {
    CCamera& camera = CameraOf(parts, number);
    const Json changes = ParseBody(request.body);
    if (!changes.is_object())
        Refuse("body: expected an object such as {\"1\": \"Low\"}");
    const CAlarmInputs::Levels known = camera.alarmInputs().levels();
    CAlarmInputs::Levels levels;
    for (const auto& [key, value] : changes.items()) {
        const std::optional<int> terminal = ParseNumber<int>(key);
        if (!terminal || known.count(*terminal) == 0)
            Refuse("'" + key + "': the camera has " + std::to_string(known.size()) +
                   " inputs, counted from 1");
        const auto level = value.is_string() ? CAlarmInputs::parse(value.get<std::string>()) : std::nullopt;
        if (!level)
            Refuse(key + ": expected \"High\" or \"Low\"");
        levels[*terminal] = *level;
    }
    camera.setAlarmInputs(levels);
    return DescribeInputs(camera);
}

Json RestartCamera(const SParts& parts, Number number, const SControlRequest&) {
    CCamera& camera = CameraOf(parts, number);
    parts.server.restart(camera);
    return Describe(parts, camera);
}

std::optional<AuthScheme> SchemeFrom(const Json& body) {
    for (const auto& [name, scheme] : AuthSchemes)
        if (body == Json(name))
            return scheme;
    return std::nullopt;
}

Json ChangeAuthentication(const SParts& parts, Number, const SControlRequest& request) {
    const Json body = ParseBody(request.body);
    const Json scheme = body.is_object() ? body.value("scheme", Json()) : Json();
    const Json password = body.is_object() ? body.value("password", Json()) : Json();
    const size_t known = (scheme.is_null() ? 0 : 1) + (password.is_null() ? 0 : 1);
    if (known == 0 || known != body.size() || (!scheme.is_null() && !SchemeFrom(scheme)) ||
        (!password.is_null() && !password.is_string()))
        Refuse("body: expected {\"scheme\": \"none\"}, \"basic\" or \"digest\", {\"password\": \"...\"}, or "
               "both");
    if (!password.is_null())
        parts.authenticator.setPassword(password.get<std::string>());
    if (!scheme.is_null())
        parts.authenticator.setScheme(*SchemeFrom(scheme));
    return scheme.is_null() ? Json::object() : Json{{"scheme", scheme}};
}

std::optional<Number> QueryNumber(const SControlRequest& request, const std::string& name) {
    const std::string text = ParameterValue(request.query, name);
    if (text.empty())
        return std::nullopt;
    const std::optional<Number> number = ParseNumber<Number>(text);
    if (!number)
        Refuse(name + ": expected a number, not '" + text + "'");
    return number;
}

Json Describe(const SLoggedRequest& request) {
    return {{"id", request.id},
            {"camera", request.camera},
            {"method", request.method},
            {"path", request.target},
            {"body", request.body},
            {"bodyIsCut", request.bodyIsCut},
            {"status", request.status ? Json(*request.status) : Json()},
            {"authorization", request.authorization},
            {"fault", request.fault},
            {"time", request.milliseconds}};
}

Json ListRequests(const SParts& parts, Number, const SControlRequest& request) {
    const std::optional<Number> camera = QueryNumber(request, "camera");
    if (camera)
        CameraOf(parts, *camera);
    const CRequestLog::SExcerpt excerpt = parts.log.read(camera, QueryNumber(request, "after").value_or(0));
    Json list = Json::array();
    for (const SLoggedRequest& logged : excerpt.requests)
        list.push_back(Describe(logged));
    return {{"requests", std::move(list)},
            {"last", excerpt.last},
            {"dropped", excerpt.dropped},
            {"more", excerpt.more}};
}

Json ClearRequests(const SParts& parts, Number, const SControlRequest&) {
    parts.log.clear();
    return Json::object();
}

Json ListFaults(const SParts& parts, Number, const SControlRequest&) {
    Json list = Json::array();
    for (const SFault& fault : parts.faults.list())
        list.push_back(DescribeFault(fault));
    return {{"faults", std::move(list)}, {"named", parts.named.list()}};
}

// {"name": "settings-html"}, with the number of a camera or without.
Json AddNamedFault(const SParts& parts, const Json& body) {
    for (const auto& [key, value] : body.items())
        if (key != "name" && key != "camera")
            Refuse(key + ": a fault of the catalogue takes nothing but name and camera");
    if (!body["name"].is_string())
        Refuse("name: expected a text");
    const Json camera = body.value("camera", Json());
    if (!camera.is_null() && !camera.is_number_unsigned())
        Refuse("camera: expected the number of a camera, counted from 0");
    const std::string name = body["name"].get<std::string>();
    const std::optional<size_t> number =
        camera.is_null() ? std::nullopt : std::optional(camera.get<size_t>());
    return {{"name", name}, {"ids", parts.named.set(name, number)}};
}

Json AddFault(const SParts& parts, Number, const SControlRequest& request) {
    try {
        const Json body = ParseBody(request.body);
        if (body.is_object() && body.contains("name"))
            return AddNamedFault(parts, body);
        return {{"id", parts.faults.add(ParseFault(body, parts.cameras.size()))}};
    } catch (const CFaultError& error) {
        Refuse(error.what());
    }
}

// A part of a fault of the catalogue goes with all others.
Json RemoveFault(const SParts& parts, Number number, const SControlRequest&) {
    const std::optional<SFault> fault = parts.faults.find(number);
    const bool removed = fault && (fault->name.empty() ? parts.faults.remove(number)
                                                       : parts.named.unsetAt(fault->name, fault->camera));
    if (!removed)
        throw CControlError(MHD_HTTP_NOT_FOUND, "there is no fault " + std::to_string(number));
    return Json::object();
}

Json ClearFaults(const SParts& parts, Number, const SControlRequest& request) {
    const std::string name = ParameterValue(request.query, "name");
    if (name.empty()) {
        parts.named.clear();
        parts.faults.clear();
    } else if (!parts.named.unset(name)) {
        throw CControlError(MHD_HTTP_NOT_FOUND, "the fault '" + name + "' is not set");
    }
    return Json::object();
}

struct SRoute {
    const char* method;
    const char* path; // "N" stands for any number
    Json (*answer)(const SParts&, Number, const SControlRequest&);
};

constexpr SRoute Routes[] = {
    {"GET", "/cameras", ListCameras},
    {"GET", "/cameras/N", ShowCamera},
    {"GET", "/cameras/N/settings", ShowSettings},
    {"PATCH", "/cameras/N/settings", ChangeSettings},
    {"GET", "/cameras/N/inputs", ShowInputs},
    {"PATCH", "/cameras/N/inputs", ChangeInputs},
    {"POST", "/cameras/N/reboot", RestartCamera},
    {"PATCH", "/authentication", ChangeAuthentication},
    {"GET", "/requests", ListRequests},
    {"DELETE", "/requests", ClearRequests},
    {"GET", "/faults", ListFaults},
    {"POST", "/faults", AddFault},
    {"DELETE", "/faults", ClearFaults},
    {"DELETE", "/faults/N", RemoveFault},
};

// The number that the path has where the route has "N" (0 where it has none), or nothing when they do not
// match.
std::optional<Number> Match(const std::string& route, const std::string& path) {
    std::istringstream expected(route);
    std::istringstream given(path);
    std::string part;
    std::string text;
    Number number = 0;
    while (std::getline(expected, part, '/')) {
        if (!std::getline(given, text, '/'))
            return std::nullopt;
        const std::optional<Number> read = part == "N" ? ParseNumber<Number>(text) : std::nullopt;
        if (!read && text != part)
            return std::nullopt;
        number = read.value_or(number);
    }
    return given.eof() ? std::optional(number) : std::nullopt;
}

Json Route(const SParts& parts, const SControlRequest& request) {
    bool pathKnown = false;
    for (const SRoute& candidate : Routes) {
        const std::optional<Number> number = Match(candidate.path, request.path);
        if (!number)
            continue;
        pathKnown = true;
        if (request.method == candidate.method)
            return candidate.answer(parts, *number, request);
    }
    if (pathKnown)
        throw CControlError(MHD_HTTP_METHOD_NOT_ALLOWED, request.path + " does not know " + request.method);
    throw CControlError(MHD_HTTP_NOT_FOUND, "there is nothing at " + request.path);
}

} // namespace

SControlReply AnswerControl(const SParts& parts, const SControlRequest& request) {
    try {
        if (std::optional<SControlReply> refusal = RefuseStranger(request))
            return *std::move(refusal);
        return {MHD_HTTP_OK, Route(parts, request)};
    } catch (const CControlError& error) {
        return {error.status, {{"error", error.what()}}};
    } catch (const std::exception& error) {
        return {MHD_HTTP_INTERNAL_SERVER_ERROR, {{"error", error.what()}}};
    }
}

} // namespace camsim
