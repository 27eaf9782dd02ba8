#include "tools/vornhost/diagnosis/diagnosis.h"

#include "tools/vornhost/console/terminal_text.h"

#include <algorithm>
#include <iterator>

namespace corvane::vornhost {
namespace {

constexpr const char* CapabilityRequest = "get_capability";
constexpr const char* IdentityRequest = "getinfo";
constexpr const char* SettingsRequest = "setdata";
constexpr double SlowReply = 2000; // ms; an identification has 5 s for two of them

struct SEvidence {
    Occasion occasion;
    CError error;
    std::optional<SHttpExchange> exchange; // the one to blame

    bool failedBy(HttpFailure kind, HttpFailure other = HttpFailure::Other) const {
        return exchange &&
               (exchange->kind == kind || (other != HttpFailure::Other && exchange->kind == other));
    }
    bool hasStatus(int from, int to) const {
        return exchange && !exchange->failure.empty() && from <= exchange->status && exchange->status <= to;
    }
    bool isCode(RtnCode code) const { return error.getCode() == static_cast<int>(code); }
    // NotSet alone does not tell what is missing.
    bool wantsCredentials() const {
        return isCode(RtnCode::AuthenticationFailed) ||
               (isCode(RtnCode::NotSet) && error.getText().find("Authentication") != std::string::npos);
    }
    bool isSlow() const {
        return exchange && exchange->failure.empty() && exchange->milliseconds > SlowReply;
    }
};

struct SProblem {
    bool (*applies)(const SEvidence& evidence);
    const char* problem; // null: the plug-in's own words
    const char* advice;  // null: none
    const char* cause = nullptr;
};

constexpr const char* WeakerAuthentication = "authentication-weaker";
constexpr const char* OfferedBasicAlone = "401 Unauthorized, and Basic authentication alone is offered";

// The first row that applies is taken.
const SProblem Problems[] = {
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::NameNotFound); }, "no host has this name",
     "look for a slip of the pen in ADDRESS, or give the dotted address"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Refused); },
     "nobody listens at this address and port",
     "add :PORT if the camera's web port is not 80; a camera that restarts refuses for a minute"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::NoAnswer, HttpFailure::Unreachable); },
     "the camera did not answer in time",
     "see whether the camera has power and can be reached (ping), then try again"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Cut, HttpFailure::Dropped); },
     "the reply was cut short",
     "try again; if it stays so, restart the camera and look at what stands between it and here"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::NotHttp); },
     "what answers there does not speak HTTP", "give the camera's web port as ADDRESS:PORT"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::TooLarge); },
     "the reply is far larger than any camera's", "see what it is that answers at this address"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::BasicRefused); },
     "the camera offers Basic authentication alone, which is refused",
     "set the camera to Digest; if it was, see whether it was reset, or who answers in its place. Where the "
     "model list has digestOnly for another family, --model tells this one's",
     WeakerAuthentication},
    {[](const SEvidence& e) { return e.hasStatus(401, 401); },
     "the camera refuses the user name or the password",
     "give --user and --password-file, or VORNHOST_USER and VORNHOST_PASSWORD"},
    {[](const SEvidence& e) { return e.hasStatus(403, 403); }, "the camera forbids this to the user",
     "give the credentials of an administrator of the camera"},
    {[](const SEvidence& e) { return e.hasStatus(404, 404); }, "the device does not know the request",
     "see whether it is a camera of the plug-in's families at all; older firmware lacks some requests"},
    {[](const SEvidence& e) { return e.hasStatus(500, 599); }, "the camera reports a fault of its own",
     "try again in a minute; if it stays so, restart the camera"},
    {[](const SEvidence& e) { return e.hasStatus(100, 499); },
     "the camera answered with a status that it should not",
     "see whether it is the camera itself that answers at this address"},
    {[](const SEvidence& e) { return e.exchange && !e.exchange->failure.empty(); },
     "the exchange with the camera failed", "try again, with --trace to see every exchange"},
    {[](const SEvidence& e) {
         return e.occasion == Occasion::Initialisation && e.isCode(RtnCode::NotSupported);
     },
     "the model list does not know this model",
     "add the model to the list (--models FILE), or take a similar one with --model NUMBER; `vornhost "
     "models` "
     "tells which there are"},
    {[](const SEvidence& e) { return e.occasion == Occasion::Initialisation && e.exchange.has_value(); },
     "the camera's capability reply is empty",
     "restart the camera; if it stays so, its firmware does not tell its capability and it cannot be used"},
    {[](const SEvidence& e) { return e.occasion == Occasion::Identification && e.isSlow(); },
     "the camera answers too slowly to be identified",
     "see with --trace how long each request takes; an identification has 5 s for two of them"},
    {[](const SEvidence& e) { return e.occasion == Occasion::Identification; },
     "what answers there is none of the plug-in's cameras",
     "see with --log-level 2 why each family refused it; --model NUMBER takes a model without asking"},
    {[](const SEvidence& e) { return !e.exchange && e.wantsCredentials(); }, "the device has no credentials",
     "leave --no-credentials out, or give --user and --password-file"},
};

std::string RequestText(const SHttpExchange& exchange) {
    return exchange.method + " " +
           (exchange.url.empty() ? "http://" + exchange.address + exchange.path : exchange.url) +
           (exchange.body.empty() ? "" : " with " + exchange.body);
}

// What the exchange was for: by its request and, where that does not tell, by the occasion.
std::string PhaseOf(Occasion occasion, const SHttpExchange& exchange) {
    if (!exchange.url.empty())
        return "stream";
    if (exchange.path.find(CapabilityRequest) != std::string::npos)
        return "capability";
    if (exchange.path.find(SettingsRequest) != std::string::npos)
        return "settings";
    if (occasion == Occasion::Initialisation)
        return "initialize";
    if (occasion == Occasion::Identification || exchange.path.find(IdentityRequest) != std::string::npos)
        return "identify";
    return exchange.method == "POST" ? "write" : "settings";
}

SDiagnosis DiagnoseEvidence(const SEvidence& evidence) {
    SDiagnosis diagnosis;
    const auto problem =
        std::find_if(std::begin(Problems), std::end(Problems),
                     [&evidence](const SProblem& candidate) { return candidate.applies(evidence); });
    if (problem == std::end(Problems)) {
        diagnosis.problem = evidence.error.getText().empty() ? "the call failed" : evidence.error.getText();
    } else {
        diagnosis.problem = problem->problem;
        diagnosis.pluginText = evidence.error.getText();
        diagnosis.advice = problem->advice;
        diagnosis.cause = problem->cause ? problem->cause : "";
    }
    if (evidence.exchange) {
        const SHttpExchange& exchange = *evidence.exchange;
        diagnosis.request = RequestText(exchange);
        diagnosis.phase = PhaseOf(evidence.occasion, exchange);
        diagnosis.reply = !exchange.failure.empty() ? exchange.failure
                          : evidence.isSlow()       ? "after " + MillisecondsText(exchange.milliseconds)
                                                    : "nothing behind the HTTP header";
    }
    return diagnosis;
}

// An initialisation that asked for the capability failed there; other requests run at the same time. An
// identification fails without a failing request when the camera is slow.
std::optional<SHttpExchange> ExchangeToBlame(Occasion occasion, const CExchangeWatch& exchanges) {
    if (occasion == Occasion::Initialisation)
        if (auto capability = exchanges.lastOf(CapabilityRequest))
            return capability;
    auto failing = exchanges.lastFailing();
    if (failing || occasion != Occasion::Identification)
        return failing;
    auto identity = exchanges.lastOf(IdentityRequest);
    return identity && identity->milliseconds > SlowReply ? identity : std::nullopt;
}

std::string DetailLine(const char* label, const std::string& text) {
    return text.empty() ? "" : "  " + PadTo(label, 10) + PrintableText(text) + "\n";
}

} // namespace

std::string SDiagnosis::lines(const std::string& subject) const {
    return "vornhost: " + PrintableText(subject + ": " + problem) + "\n" + DetailLine("plug-in", pluginText) +
           DetailLine("asked", request) + DetailLine("answered", reply) + DetailLine("try", advice);
}

SDiagnosis Diagnose(Occasion occasion, const CError& error, const CExchangeWatch& exchanges) {
    return DiagnoseEvidence({occasion, error, ExchangeToBlame(occasion, exchanges)});
}

std::optional<SDiagnosis> DiagnoseAuthentication(const refhost::SSeenAuthentication& seen) {
    if (!seen.basicAlone)
        return std::nullopt;
    SDiagnosis diagnosis;
    diagnosis.request = RequestText(*seen.basicAlone);
    diagnosis.reply = OfferedBasicAlone;
    diagnosis.cause = WeakerAuthentication;
    diagnosis.phase = PhaseOf(Occasion::Call, *seen.basicAlone);
    diagnosis.isWarning = true;
    if (seen.isWeakerThanBefore()) {
        diagnosis.problem =
            "the camera wants Basic alone, and had Digest before: is somebody in between, or was it reset?";
        diagnosis.reply += "; before, Digest was";
        diagnosis.advice = "see whether it is the camera itself that answers, and set it to Digest again; "
                           "--digest-only refuses Basic; the password may be known to others by now";
    } else {
        diagnosis.problem =
            "the camera offers Basic authentication alone: whoever listens learns the password";
        diagnosis.advice =
            "set the camera to Digest authentication if it has it; --digest-only refuses Basic";
    }
    return diagnosis;
}

ordered_json ProblemObject(const SDiagnosis& diagnosis) {
    if (diagnosis.cause.empty())
        return ordered_json::object();
    return {{"cause", diagnosis.cause},   {"certain", diagnosis.isCertain}, {"phase", diagnosis.phase},
            {"asked", diagnosis.request}, {"answered", diagnosis.reply},    {"try", diagnosis.advice}};
}

SDiagnosis DiagnoseExchange(const SHttpExchange& exchange) {
    return DiagnoseEvidence({Occasion::Call, CError(RtnCode::OperationFailed, Origin::Device, ""), exchange});
}

} // namespace corvane::vornhost
