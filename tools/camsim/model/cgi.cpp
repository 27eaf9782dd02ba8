#include "model/cgi.h"

#include "model/head_cgis.h"

namespace camsim {
namespace {

// The parameter Randomnum that a request must carry to reset or restart a camera.
constexpr std::string_view InitialToken = "5D21A7C03E8F4B69";

constexpr std::string_view InputsPath = "/cgi-bin/get_io";

SCgiReply GetInfo(CCamera& camera, const SCgiRequest&) {
    return {200, camera.info()};
}

SCgiReply SetData(CCamera& camera, const SCgiRequest& request) {
    SCgiReply reply;
    ApplySettings(camera, request.parameters, reply.written);
    reply.body = camera.settingsDump();
    return reply;
}

SCgiReply GetCapability(CCamera& camera, const SCgiRequest&) {
    return {200, camera.model().capability.text()};
}

SCgiReply Initial(CCamera& camera, const SCgiRequest& request) {
    if (ParameterValue(request.parameters, "Randomnum") != InitialToken)
        return {400, "Randomnum is missing or wrong\r\n"};
    const std::string command = ParameterValue(request.parameters, "cmd");
    if (command != "reset" && command != "all")
        return {400, "cmd is neither reset nor all\r\n"};
    if (command == "all")
        camera.resetToFactoryDefaults();
    SCgiReply reply{200, "cmd=" + command + "\r\n"};
    reply.restart = true;
    return reply;
}

SCgiReply GetIo(CCamera& camera, const SCgiRequest& request) {
    const CAlarmInputs inputs = camera.alarmInputs();
    if (inputs.levels().empty())
        return NoSuchCgi();
    if (IsMonitorRequest(camera, request))
        return {200, CAlarmInputs::monitorReport(inputs.levels())};
    return {200, ParameterValue(request.parameters, "command") == "all" ? inputs.report() : ""};
}

constexpr std::pair<std::string_view, CgiAnswer> Cgis[] = {
    {"/cgi-bin/getinfo", GetInfo}, {"/cgi-bin/setdata", SetData}, {"/cgi-bin/get_capability", GetCapability},
    {"/cgi-bin/initial", Initial}, {InputsPath, GetIo},
};

} // namespace

SCgiReply AnswerCgi(CCamera& camera, const SCgiRequest& request) {
    for (const auto& [path, answer] : Cgis)
        if (path == request.path)
            return answer(camera, request);
    if (const CgiAnswer answer = FindHeadCgi(request.path))
        return answer(camera, request);
    const SSettingsCgi* cgi = FindSettingsCgi(request.path);
    if (cgi == nullptr)
        return NoSuchCgi();
    SCgiReply reply;
    reply.body = ApplyParameters(camera, *cgi, request.parameters, reply.written);
    return reply;
}

SCgiReply NoSuchCgi() {
    return {404, "Not Found\r\n"};
}

bool IsMonitorRequest(const CCamera& camera, const SCgiRequest& request) {
    return request.path == InputsPath && ParameterValue(request.parameters, "mode") == "monitor" &&
           !camera.alarmInputs().levels().empty();
}

} // namespace camsim
