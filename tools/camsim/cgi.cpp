#include "cgi.h"

#include "cgi_parameters.h"
#include "numbers.h"

#include <algorithm>
#include <cctype>
#include <sstream>

namespace camsim {
namespace {

/// What a camera asks for with the commands that cannot be undone.
constexpr std::string_view initialToken = "5D21A7C03E8F4B69";

using Answer = CgiReply (*)(Camera&, const CgiRequest&);

CgiReply getInfo(Camera& camera, const CgiRequest&) {
    return {200, camera.info()};
}

CgiReply setData(Camera& camera, const CgiRequest& request) {
    applySettings(camera, request.parameters);
    return {200, camera.settingsDump()};
}

CgiReply getCapability(Camera& camera, const CgiRequest&) {
    return {200, camera.model().capability.text()};
}

CgiReply initial(Camera& camera, const CgiRequest& request) {
    if (parameterValue(request.parameters, "Randomnum") != initialToken)
        return {400, "Randomnum is missing or wrong\r\n"};
    const std::string command = parameterValue(request.parameters, "cmd");
    if (command != "reset" && command != "all")
        return {400, "cmd is neither reset nor all\r\n"};
    if (command == "all")
        camera.resetToFactoryDefaults();
    CgiReply reply{200, "cmd=" + command + "\r\n"};
    reply.restart = true;
    return reply;
}

CgiReply noSuchCgi() {
    return {404, "Not Found\r\n"};
}

CgiReply absGet(Camera& camera, const CgiRequest&) {
    if (camera.model().axes.empty())
        return noSuchCgi();
    std::ostringstream text;
    for (const auto& [name, axis] : camera.model().axes) {
        std::string key = name;
        std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::toupper(c); });
        text << key << "=" << camera.position(name) << "\r\n";
    }
    return {200, text.str()};
}

/// A position beyond the axis's end is the end.
CgiReply absControl(Camera& camera, const CgiRequest& request) {
    if (camera.model().axes.empty())
        return noSuchCgi();
    for (const auto& [name, axis] : camera.model().axes) {
        const std::string wanted = parameterValue(request.parameters, name);
        if (const std::optional<int> position = parseInteger<int>(wanted))
            camera.move(name, std::clamp(*position, axis.minimum, axis.maximum));
    }
    return {200, ""};
}

/// The head takes the command and does not move yet.
CgiReply moveHead(Camera& camera, const CgiRequest&) {
    return camera.model().axes.empty() ? noSuchCgi() : CgiReply{200, ""};
}

/// The levels at which the terminals rest. An open contact is pulled high.
CgiReply getIo(Camera& camera, const CgiRequest& request) {
    const auto terminals = camera.model().capability.list("video_server.peripheral.io.number");
    if (!terminals || terminals->empty())
        return noSuchCgi();
    const bool monitor = parameterValue(request.parameters, "mode") == "monitor";
    if (!monitor && parameterValue(request.parameters, "command") != "all")
        return {200, ""};
    const int count = parseInteger<int>(terminals->front()).value_or(0);
    std::ostringstream text;
    for (int terminal = 1; terminal <= count; ++terminal)
        text << (monitor ? "terminal" : "terminal ") << terminal << (monitor ? " I High" : ": High")
             << "\r\n";
    return {200, text.str()};
}

constexpr std::pair<std::string_view, Answer> cgis[] = {
    {"/cgi-bin/getinfo", getInfo},
    {"/cgi-bin/setdata", setData},
    {"/cgi-bin/get_capability", getCapability},
    {"/cgi-bin/initial", initial},
    {"/cgi-bin/absget", absGet},
    {"/cgi-bin/absctrl", absControl},
    {"/cgi-bin/camctrl", moveHead},
    {"/cgi-bin/directctrl", moveHead},
    {"/cgi-bin/camposiset", moveHead},
    {"/cgi-bin/set_patrol", moveHead},
    {"/cgi-bin/get_io", getIo},
};

} // namespace

CgiReply answerCgi(Camera& camera, const CgiRequest& request) {
    for (const auto& [path, answer] : cgis)
        if (path == request.path)
            return answer(camera, request);
    if (const SettingsCgi* cgi = findSettingsCgi(request.path))
        return {200, applyParameters(camera, *cgi, request.parameters)};
    return noSuchCgi();
}

} // namespace camsim
