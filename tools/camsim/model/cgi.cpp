#include "model/cgi.h"

#include "model/cgi_parameters.h"
#include "model/head_cgis.h"

namespace camsim {
namespace {

/// What a camera asks for with the commands that cannot be undone.
constexpr std::string_view initialToken = "5D21A7C03E8F4B69";

constexpr std::string_view inputsPath = "/cgi-bin/get_io";

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

CgiReply getIo(Camera& camera, const CgiRequest& request) {
    const AlarmInputs inputs = camera.alarmInputs();
    if (inputs.levels().empty())
        return noSuchCgi();
    if (isMonitorRequest(camera, request))
        return {200, AlarmInputs::monitorReport(inputs.levels())};
    return {200, parameterValue(request.parameters, "command") == "all" ? inputs.report() : ""};
}

constexpr std::pair<std::string_view, CgiAnswer> cgis[] = {
    {"/cgi-bin/getinfo", getInfo}, {"/cgi-bin/setdata", setData}, {"/cgi-bin/get_capability", getCapability},
    {"/cgi-bin/initial", initial}, {inputsPath, getIo},
};

} // namespace

CgiReply answerCgi(Camera& camera, const CgiRequest& request) {
    for (const auto& [path, answer] : cgis)
        if (path == request.path)
            return answer(camera, request);
    if (const CgiAnswer answer = findHeadCgi(request.path))
        return answer(camera, request);
    if (const SettingsCgi* cgi = findSettingsCgi(request.path))
        return {200, applyParameters(camera, *cgi, request.parameters)};
    return noSuchCgi();
}

CgiReply noSuchCgi() {
    return {404, "Not Found\r\n"};
}

bool isMonitorRequest(const Camera& camera, const CgiRequest& request) {
    return request.path == inputsPath && parameterValue(request.parameters, "mode") == "monitor" &&
           !camera.alarmInputs().levels().empty();
}

} // namespace camsim
