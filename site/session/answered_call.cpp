#include "site/session/answered_call.h"

#include "refhost/base/address.h"
#include "site/calls/answer_text.h"

#include <algorithm>
#include <iterator>
#include <variant>

namespace corvane::site {
namespace {

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

// The settings are fetched beside everything else, so that their failure says nothing of an answer that has
// come without them.
bool RestsOnSettings(const std::string& operation) {
    const std::string without[] = {CapabilityPrefix,
                                   ControllerPrefix,
                                   HandlerPrefix,
                                   "setting.CameraHttp",
                                   "setting.GetCameraInfo",
                                   "setting.ReloadSetting",
                                   "setting.SetCameraSetting",
                                   "To",
                                   "addPtz",
                                   "callPtz",
                                   "getPtzPan",
                                   "getPtzPos",
                                   "getPtzTilt",
                                   "getPtzZoom",
                                   "getUnit",
                                   "isUnit",
                                   "rebootDevice",
                                   "setAbsolutePtz",
                                   "setContinuousPtz",
                                   "setLens",
                                   "setPtz",
                                   "setRelativePtz",
                                   "setVpa",
                                   "testAuthentication"};
    return std::none_of(std::begin(without), std::end(without), [&operation](const std::string& beginning) {
        return BeginsWith(operation, beginning);
    });
}

struct SCameBackEmpty {
    bool operator()(std::monostate /*none*/) const { return false; }
    bool operator()(bool result) const { return !result; }
    bool operator()(long long result) const { return result < 0; }
    bool operator()(const std::string& result) const { return result.empty(); }
    bool operator()(const Texts& result) const { return result.empty(); }
};

// The plug-in asks nothing of a device that has no credentials. What returns an error says so; these return a
// plain value.
bool WasNotAsked(const CDeviceSession& session, const std::string& operation, const SAnswer& answer) {
    const bool asksWithoutError =
        BeginsWith(operation, SettingPrefix) || operation == "initialize" || operation == "customInitialize";
    return asksWithoutError && !session.authentication().isSet() &&
           std::visit(SCameBackEmpty(), answer.result);
}

std::optional<SDiagnosis> ProblemIn(const CExchangeWatch& exchanges, const std::string& operation,
                                    const SAnswer& answer) {
    // A camera that has been set, and a record that is to follow it, are no failure, whatever their code is.
    const bool isSet = answer.error && answer.error->getText() == vorn_camera_base::v1_0::NeedWriteBack;
    if (answer.error && *answer.error && !isSet)
        return Diagnose(Occasion::Call, *answer.error, exchanges);
    auto failed = exchanges.lastFailingOwn();
    if (!failed && RestsOnSettings(operation))
        failed = exchanges.failedSettings();
    if (!failed && BeginsWith(operation, CapabilityPrefix))
        failed = exchanges.failedCapability();
    return failed ? std::optional(DiagnoseExchange(*failed, exchanges)) : std::nullopt;
}

// The address that a call of the handler's asks, where it is not the session's own.
std::optional<std::string> AddressElsewhere(const CDeviceSession& session, const SCall& call) {
    if (!BeginsWith(call.operation, HandlerPrefix) || call.arguments.empty() ||
        !refhost::ParseAddress(call.arguments.front()))
        return std::nullopt;
    const std::string address = refhost::ToldAddress(call.arguments.front());
    return address == refhost::ToldAddress(session.address()) ? std::nullopt : std::optional(address);
}

} // namespace

ordered_json SAnsweredCall::toJson(const SCall& call) const {
    return AnswerJson(call, answer, problem ? ProblemObject(*problem) : ordered_json::object());
}

SAnsweredCall CallOn(CDeviceSession& session, const SCall& call) {
    session.exchanges().takeFailing();
    std::optional<CExchangeWatch> elsewhere;
    if (const auto address = AddressElsewhere(session, call))
        elsewhere.emplace(*address);
    SAnsweredCall answered{MakeCall(session.operations(), call), std::nullopt};
    answered.problem = elsewhere ? ProblemIn(*elsewhere, call.operation, answered.answer.answer)
                                 : ProblemOf(session, call.operation, answered.answer.answer);
    return answered;
}

std::optional<SDiagnosis> ProblemOf(const CDeviceSession& session, const std::string& operation,
                                    const SAnswer& answer) {
    if (WasNotAsked(session, operation, answer))
        return Diagnose(Occasion::Call, session.camera().testAuthentication(), session.exchanges());
    return ProblemIn(session.exchanges(), operation, answer);
}

} // namespace corvane::site
