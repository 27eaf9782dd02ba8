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
using Parts = ControlInterface::Parts;

class ControlError : public std::runtime_error {
public:
    ControlError(unsigned code, const std::string& text) : std::runtime_error(text), status(code) {}
    const unsigned status;
};

[[noreturn]] void refuse(const std::string& text) {
    throw ControlError(MHD_HTTP_BAD_REQUEST, text);
}

/// Deeper than anything that is understood here, and little enough for what goes down into it by recursion.
constexpr int deepestBody = 16;

Json parseBody(const std::string& body) {
    const auto checkDepth = [](int depth, Json::parse_event_t, const Json&) {
        if (depth > deepestBody)
            refuse("body: nested deeper than " + std::to_string(deepestBody) + " levels");
        return true;
    };
    try {
        return Json::parse(body, checkDepth);
    } catch (const Json::exception& error) {
        refuse("body: expected JSON: " + std::string(error.what()));
    }
}

/// What stands for "N" in a route's path.
using Number = uint64_t;

Camera& cameraOf(const Parts& parts, Number number) {
    if (number >= parts.cameras.size())
        throw ControlError(MHD_HTTP_NOT_FOUND, "there are " + std::to_string(parts.cameras.size()) +
                                                   " cameras, counted from 0, and no camera " +
                                                   std::to_string(number));
    return *parts.cameras[number];
}

Json describeHead(const Camera& camera) {
    Json json = Json::object();
    for (const auto& [axis, position] : camera.headPlace())
        json[axis] = std::round(position * 100) / 100;
    json["moving"] = camera.headIsMoving();
    return json;
}

Json describeInputs(const Camera& camera) {
    Json json = Json::object();
    const AlarmInputs inputs = camera.alarmInputs();
    for (const auto& [terminal, level] : inputs.levels())
        json[std::to_string(terminal)] = AlarmInputs::name(level);
    return json;
}

Json describe(const Parts& parts, const Camera& camera) {
    const CameraCounters& counters = camera.counters;
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
        json["position"] = describeHead(camera);
    if (Json inputs = describeInputs(camera); !inputs.empty()) {
        json["inputs"] = std::move(inputs);
        json["monitors"] = counters.monitors.load();
    }
    return json;
}

Json listCameras(const Parts& parts, Number, const ControlRequest&) {
    Json list = Json::array();
    for (const auto& camera : parts.cameras)
        list.push_back(describe(parts, *camera));
    return {{"cameras", std::move(list)}};
}

Json showCamera(const Parts& parts, Number number, const ControlRequest&) {
    return describe(parts, cameraOf(parts, number));
}

Json showSettings(const Parts& parts, Number number, const ControlRequest&) {
    return cameraOf(parts, number).settings();
}

constexpr size_t longestSetting = 4096; // reached by no camera

void checkSetting(const std::string& key, const Json& value) {
    const bool keyGood = !key.empty() && std::all_of(key.begin(), key.end(), [](unsigned char c) {
        return std::isupper(c) || std::isdigit(c) || c == '_';
    });
    if (!keyGood)
        refuse("'" + key + "': expected a key of capital letters, digits and underscores");
    if (value.is_null())
        return;
    const std::string* text = value.get_ptr<const std::string*>();
    if (text == nullptr || text->find_first_of("\"\r\n") != text->npos)
        refuse(key + ": expected a text without quotes and line ends, or null to take the setting away");
    if (key.size() > longestSetting || text->size() > longestSetting)
        refuse("a key or a value is longer than " + std::to_string(longestSetting) + " characters");
}

Json changeSettings(const Parts& parts, Number number, const ControlRequest& request) {
    Camera& camera = cameraOf(parts, number);
    const Json changes = parseBody(request.body);
    if (!changes.is_object())
        refuse("body: expected an object such as {\"CAMTITLE\": \"Entrance\"}");
    SettingsStore::Overrides settings;
    for (const auto& [key, value] : changes.items()) {
        checkSetting(key, value);
        settings[key] = value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
    }
    if (!camera.hasRoomFor(settings))
        refuse("the camera's changed settings would take more than " +
               std::to_string(SettingsStore::mostBytes) + " bytes");
    for (const auto& [key, value] : settings)
        camera.putSetting(key, value);
    return camera.settings();
}

Json showInputs(const Parts& parts, Number number, const ControlRequest&) {
    return describeInputs(cameraOf(parts, number));
}

Json changeInputs(const Parts& parts, Number number, const ControlRequest& request) {
    Camera& camera = cameraOf(parts, number);
    const Json changes = parseBody(request.body);
    if (!changes.is_object())
        refuse("body: expected an object such as {\"1\": \"Low\"}");
    const AlarmInputs::Levels known = camera.alarmInputs().levels();
    AlarmInputs::Levels levels;
    for (const auto& [key, value] : changes.items()) {
        const std::optional<int> terminal = parseNumber<int>(key);
        if (!terminal || known.count(*terminal) == 0)
            refuse("'" + key + "': the camera has " + std::to_string(known.size()) +
                   " inputs, counted from 1");
        const auto level = value.is_string() ? AlarmInputs::parse(value.get<std::string>()) : std::nullopt;
        if (!level)
            refuse(key + ": expected \"High\" or \"Low\"");
        levels[*terminal] = *level;
    }
    camera.setAlarmInputs(levels);
    return describeInputs(camera);
}

Json restartCamera(const Parts& parts, Number number, const ControlRequest&) {
    Camera& camera = cameraOf(parts, number);
    parts.server.restart(camera);
    return describe(parts, camera);
}

Json changeAuthentication(const Parts& parts, Number, const ControlRequest& request) {
    const Json body = parseBody(request.body);
    for (const auto& [name, scheme] : authSchemes) {
        Json expected{{"scheme", name}};
        if (body != expected)
            continue;
        parts.authenticator.setScheme(scheme);
        return expected;
    }
    refuse("body: expected {\"scheme\": \"none\"}, \"basic\" or \"digest\"");
}

std::optional<Number> queryNumber(const ControlRequest& request, const std::string& name) {
    const std::string text = parameterValue(request.query, name);
    if (text.empty())
        return std::nullopt;
    const std::optional<Number> number = parseNumber<Number>(text);
    if (!number)
        refuse(name + ": expected a number, not '" + text + "'");
    return number;
}

Json describe(const LoggedRequest& request) {
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

Json listRequests(const Parts& parts, Number, const ControlRequest& request) {
    const std::optional<Number> camera = queryNumber(request, "camera");
    if (camera)
        cameraOf(parts, *camera);
    const RequestLog::Excerpt excerpt = parts.log.read(camera, queryNumber(request, "after").value_or(0));
    Json list = Json::array();
    for (const LoggedRequest& logged : excerpt.requests)
        list.push_back(describe(logged));
    return {{"requests", std::move(list)},
            {"last", excerpt.last},
            {"dropped", excerpt.dropped},
            {"more", excerpt.more}};
}

Json clearRequests(const Parts& parts, Number, const ControlRequest&) {
    parts.log.clear();
    return Json::object();
}

Json listFaults(const Parts& parts, Number, const ControlRequest&) {
    Json list = Json::array();
    for (const Fault& fault : parts.faults.list())
        list.push_back(describeFault(fault));
    return {{"faults", std::move(list)}};
}

Json addFault(const Parts& parts, Number, const ControlRequest& request) {
    try {
        return {{"id", parts.faults.add(parseFault(parseBody(request.body), parts.cameras.size()))}};
    } catch (const FaultError& error) {
        refuse(error.what());
    }
}

Json removeFault(const Parts& parts, Number number, const ControlRequest&) {
    if (!parts.faults.remove(number))
        throw ControlError(MHD_HTTP_NOT_FOUND, "there is no fault " + std::to_string(number));
    return Json::object();
}

Json clearFaults(const Parts& parts, Number, const ControlRequest&) {
    parts.faults.clear();
    return Json::object();
}

struct Route {
    const char* method;
    const char* path; ///< "N" stands for any number
    Json (*answer)(const Parts&, Number, const ControlRequest&);
};

constexpr Route routes[] = {
    {"GET", "/cameras", listCameras},
    {"GET", "/cameras/N", showCamera},
    {"GET", "/cameras/N/settings", showSettings},
    {"PATCH", "/cameras/N/settings", changeSettings},
    {"GET", "/cameras/N/inputs", showInputs},
    {"PATCH", "/cameras/N/inputs", changeInputs},
    {"POST", "/cameras/N/reboot", restartCamera},
    {"PATCH", "/authentication", changeAuthentication},
    {"GET", "/requests", listRequests},
    {"DELETE", "/requests", clearRequests},
    {"GET", "/faults", listFaults},
    {"POST", "/faults", addFault},
    {"DELETE", "/faults", clearFaults},
    {"DELETE", "/faults/N", removeFault},
};

/// The number that the path has where the route has "N" (0 where it has none), or nothing when they do not
/// match.
std::optional<Number> match(const std::string& route, const std::string& path) {
    std::istringstream expected(route);
    std::istringstream given(path);
    std::string part;
    std::string text;
    Number number = 0;
    while (std::getline(expected, part, '/')) {
        if (!std::getline(given, text, '/'))
            return std::nullopt;
        const std::optional<Number> read = part == "N" ? parseNumber<Number>(text) : std::nullopt;
        if (!read && text != part)
            return std::nullopt;
        number = read.value_or(number);
    }
    return given.eof() ? std::optional(number) : std::nullopt;
}

Json route(const Parts& parts, const ControlRequest& request) {
    bool pathKnown = false;
    for (const Route& candidate : routes) {
        const std::optional<Number> number = match(candidate.path, request.path);
        if (!number)
            continue;
        pathKnown = true;
        if (request.method == candidate.method)
            return candidate.answer(parts, *number, request);
    }
    if (pathKnown)
        throw ControlError(MHD_HTTP_METHOD_NOT_ALLOWED, request.path + " does not know " + request.method);
    throw ControlError(MHD_HTTP_NOT_FOUND, "there is nothing at " + request.path);
}

} // namespace

ControlReply answerControl(const Parts& parts, const ControlRequest& request) {
    try {
        if (std::optional<ControlReply> refusal = refuseStranger(request))
            return *std::move(refusal);
        return {MHD_HTTP_OK, route(parts, request)};
    } catch (const ControlError& error) {
        return {error.status, {{"error", error.what()}}};
    } catch (const std::exception& error) {
        return {MHD_HTTP_INTERNAL_SERVER_ERROR, {{"error", error.what()}}};
    }
}

} // namespace camsim
