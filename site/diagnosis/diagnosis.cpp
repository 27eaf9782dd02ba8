#include "site/diagnosis/diagnosis.h"

#include "site/base/json_line.h"
#include "site/base/terminal_text.h"
#include "site/diagnosis/evidence.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>

namespace corvane::site {
namespace {

constexpr const char* IdentityRequest = "getinfo";

constexpr const char* Restarting = "restarting";
constexpr const char* AwayProblem = "the camera was there a moment ago and is away: it probably restarts";
constexpr const char* AwayAdvice =
    "wait a minute and try again; if it happens again and again, look at its power supply";
constexpr const char* WeakerAuthentication = "authentication-weaker";
constexpr const char* OfferedBasicAlone = "401 Unauthorized, and Basic authentication alone is offered";

struct SRule {
    bool (*applies)(const SEvidence& evidence);
    const char* cause;
    const char* problem; // null: the plug-in's own words
    const char* advice;
    bool isCertain = true;
};

bool IsInitialisation(const SEvidence& e) {
    return e.occasion == Occasion::Initialisation;
}
bool IsIdentification(const SEvidence& e) {
    return e.occasion == Occasion::Identification;
}

// The first row that applies is taken. First what happened on the wire, then what the camera answered, last
// what the plug-in made of it.
const SRule Rules[] = {
    {[](const SEvidence& e) { return e.speaksTls(); }, "tls",
     "the port speaks TLS (https), which the plug-in does not",
     "give the camera's HTTP port as ADDRESS:PORT, and switch HTTP on at the camera"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::NameNotFound); }, "name-not-found",
     "no host has this name", "look for a slip of the pen in ADDRESS, or give the dotted address"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::OwnLimit); }, "limit",
     "this program has no descriptor left for a connection",
     "let it open more files (ulimit -n, or LimitNOFILE of its unit), or ask fewer cameras at once"},
    {[](const SEvidence& e) { return e.isAway(); }, Restarting, AwayProblem, AwayAdvice, false},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Refused); }, "refused",
     "nobody listens at this address and port",
     "add :PORT if the camera's web port is not 80; a camera that restarts refuses for a minute"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Unreachable); }, "unreachable",
     "nobody takes the connection",
     "see whether the camera has power and its network can be reached (ping), and what filters stand "
     "between"},
    {[](const SEvidence& e) { return e.isUnconfirmedWrite(); }, "unconfirmed",
     "the camera did not confirm what it was told: it may have done it",
     "look at the camera, or read the setting again, before it is told once more"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::NoAnswer); }, "no-answer",
     "the camera took the connection and did not answer in time",
     "try again; if it stays so, restart the camera: its network is all right, its web server is not"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Dropped); }, "dropped",
     "the connection was closed before the camera answered",
     "try again; if it stays so, restart the camera and look at what stands between it and here"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Cut); }, "cut", "the reply was cut short",
     "try again; if it stays so, restart the camera and look at what stands between it and here"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Slow); }, "slow",
     "the reply came so slowly that its time was over",
     "see who else asks the camera all the time, and how good the way to it is"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::NotHttp); }, "not-http",
     "what answers there does not speak HTTP", "give the camera's web port as ADDRESS:PORT"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::TooLarge); }, "too-large",
     "the reply is far larger than any camera's", "see what it is that answers at this address"},
    {[](const SEvidence& e) { return e.failedBy(HttpFailure::Packed); }, "damaged",
     "the reply is packed, which was not asked for", "see what stands between the camera and here"},

    {[](const SEvidence& e) { return e.failedBy(HttpFailure::BasicRefused); }, WeakerAuthentication,
     "the camera offers Basic authentication alone, which is refused",
     "set the camera to Digest; if it was, see whether it was reset, or who answers in its place. Where the "
     "model list has digestOnly for another family, --model tells this one's"},
    {[](const SEvidence& e) { return e.hasStatus(401) && e.exchange->user.empty(); }, "no-credentials",
     "the camera wants a user name and a password",
     "leave --no-credentials out, or give --user and --password-file"},
    {[](const SEvidence& e) { return e.isAskedForEver(); }, "authentication-endless",
     "the camera goes on asking for a password, whatever it is shown",
     "set the camera to Digest authentication; restart it if it is set so"},
    {[](const SEvidence& e) { return e.hasStatus(401); }, "wrong-password",
     "the camera refuses the user name or the password",
     "give the camera's own with --user and --password-file, or VORNHOST_USER and VORNHOST_PASSWORD"},
    {[](const SEvidence& e) { return e.hasStatus(403); }, "forbidden", "the camera forbids this to the user",
     "give the credentials of an administrator of the camera"},
    {[](const SEvidence& e) { return e.hasStatus(404) || e.hasStatus(501); }, "not-known",
     "the device does not know the request",
     "see whether it is a camera of the plug-in's families at all; older firmware lacks some requests"},
    {[](const SEvidence& e) { return e.hasStatus(503); }, "busy", "the camera says that it is busy",
     "try again in a minute; see who else asks it all the time"},
    {[](const SEvidence& e) { return e.hasStatus(500, 599); }, "camera-fault",
     "the camera reports a fault of its own", "try again in a minute; if it stays so, restart the camera"},
    {[](const SEvidence& e) { return e.hasStatus(300, 399); }, "redirect",
     "the camera sends whoever asks elsewhere, where nobody is asked for it",
     "give the address that it points to, if that is the camera; else see what it is that answers here"},
    {[](const SEvidence& e) { return e.hasStatus(100, 499); }, "odd-status",
     "the camera answered with a status that it should not",
     "see whether it is the camera itself that answers at this address"},
    {[](const SEvidence& e) { return e.exchange && !e.exchange->failure.empty(); }, "unreachable",
     "the exchange with the camera failed", "try again, with --trace to see every exchange", false},

    {[](const SEvidence& e) { return e.isNameless(); }, "not-reported",
     "a camera answers there that does not say its name",
     "restart the camera; --model NUMBER takes a model without asking"},
    {[](const SEvidence& e) { return e.isDamagedIdentity(); }, "damaged",
     "a camera answers there, and what it says of itself is damaged",
     "restart the camera, and see what stands between it and here; --model NUMBER takes a model without "
     "asking"},
    {[](const SEvidence& e) { return e.isAlien(); }, "not-a-camera",
     "what answers there is none of the plug-in's cameras",
     "see what it is that answers at this address; --model NUMBER takes a model without asking"},
    {[](const SEvidence& e) { return IsInitialisation(e) && e.isCode(RtnCode::NotSupported); },
     "unknown-model", "the model list does not know this model",
     "add the model to the list (--models FILE), or take a similar one with --model NUMBER; `vornhost "
     "models` tells "
     "which there are"},
    {[](const SEvidence& e) { return IsInitialisation(e) && e.isEmpty(); }, "empty",
     "the camera's capability reply is empty",
     "restart the camera; if it stays so, its firmware does not tell its capability and it cannot be used"},
    {[](const SEvidence& e) { return IsIdentification(e) && e.isEmpty(); }, "empty",
     "what answers there has nothing to say of itself", "restart the camera; see whether it is one"},
    {[](const SEvidence& e) { return IsIdentification(e) && e.isSlow(); }, "slow",
     "the camera answers too slowly to be identified",
     "see with --trace how long each request takes; an identification has 5 s for two of them"},
    {[](const SEvidence& e) { return IsIdentification(e) && e.tellsAName(); }, "unknown-model",
     "a camera answers there, and no family of the list takes its model",
     "see with --log-level 2 why each family refused it; --model NUMBER takes a model without asking"},
    {[](const SEvidence& e) { return !e.exchange && e.wantsCredentials(); }, "no-credentials",
     "the device has no credentials", "leave --no-credentials out, or give --user and --password-file"},
    {IsIdentification, "no-answer", "no device has answered in time",
     "try again, with --trace to see every exchange", false},
    {[](const SEvidence& e) { return e.isEmpty(); }, "empty", "the camera's reply is empty",
     "restart the camera; if it stays so, its firmware does not know the request"},
    {[](const SEvidence& e) { return e.isCode(RtnCode::OutOfRange); }, "wrong-value", nullptr, ""},
    {[](const SEvidence& e) { return e.isCode(RtnCode::NotSupported); }, "not-supported", nullptr, ""},
    {[](const SEvidence& e) { return e.isCode(RtnCode::DeviceDbUnavailable); }, "wrong-file", nullptr, ""},
    {[](const SEvidence& e) { return e.isCode(RtnCode::NotAccessible) || e.isCode(RtnCode::NotSet); },
     "not-reported", nullptr, "", false},
    {[](const SEvidence&) { return true; }, "damaged", nullptr, "", false},
};

std::string RequestText(const SHttpExchange& exchange) {
    return exchange.method + " " +
           (exchange.url.empty() ? "http://" + exchange.address + exchange.path : exchange.url) +
           (exchange.body.empty() ? "" : " with " + exchange.body);
}

// By what was asked; what was asked first of all goes by the occasion.
std::string PhaseOf(Occasion occasion, const std::optional<SHttpExchange>& exchange) {
    const auto asked = [&](const char* path) {
        return exchange && exchange->path.find(path) != std::string::npos;
    };
    if (exchange && !exchange->url.empty())
        return "stream";
    if (exchange && (exchange->kind == HttpFailure::NameNotFound || exchange->kind == HttpFailure::NotAsked))
        return "address";
    constexpr std::pair<const char*, const char*> Paths[] = {{CapabilityRequest, "capability"},
                                                             {SettingsRequest, "settings"},
                                                             {"absget", "position"},
                                                             {"get_io", "monitor"},
                                                             {"set_audio", "audio"}};
    const bool isWrite = exchange && exchange->method == "POST";
    for (const auto& [path, phase] : Paths)
        if (asked(path) && !isWrite)
            return phase;
    if (exchange && IsMove(*exchange))
        return "move";
    if (occasion == Occasion::Initialisation)
        return "initialize";
    if (occasion == Occasion::Identification || asked(IdentityRequest))
        return "identify";
    return isWrite ? "write" : "settings";
}

// In the words of what was found in the reply.
SDiagnosis WithFaultOf(const SWatchedExchange& exchange, SDiagnosis diagnosis) {
    diagnosis.cause = exchange.fault->cause;
    diagnosis.problem = exchange.fault->problem;
    diagnosis.advice = "restart the camera, and see what stands between it and here; if it stays so, its "
                       "firmware does not tell more";
    diagnosis.isCertain = true;
    return diagnosis;
}

SDiagnosis DiagnoseEvidence(const SEvidence& evidence) {
    const auto* const rule = std::find_if(std::begin(Rules), std::end(Rules), [&](const SRule& candidate) {
        return candidate.applies(evidence);
    });
    SDiagnosis diagnosis;
    diagnosis.cause = rule->cause;
    diagnosis.isCertain = rule->isCertain;
    diagnosis.advice = rule->advice;
    diagnosis.phase = PhaseOf(evidence.occasion, evidence.exchange);
    const std::string& text = evidence.error.getText();
    diagnosis.problem = rule->problem ? rule->problem : text.empty() ? "the call failed" : text;
    diagnosis.pluginText = rule->problem ? text : "";
    if (evidence.exchange)
        diagnosis.request = RequestText(*evidence.exchange);
    diagnosis.reply = evidence.answered();
    return evidence.hasFaultyReply() ? WithFaultOf(*evidence.exchange, diagnosis) : diagnosis;
}

// An initialisation that came to the capability failed there: other requests run beside it. An identification
// may fail without a failing request.
std::optional<SWatchedExchange> ExchangeToBlame(Occasion occasion, const CError& error,
                                                const CExchangeWatch& exchanges) {
    if (occasion == Occasion::Initialisation && error.getCode() == static_cast<int>(RtnCode::NotSupported))
        return exchanges.lastOf(IdentityRequest); // in which it names a model that is not listed
    if (occasion == Occasion::Initialisation)
        if (auto capability = exchanges.lastOf(CapabilityRequest))
            return capability;
    if (auto failing = exchanges.lastFailingOwn())
        return failing;
    if (occasion == Occasion::Identification)
        return exchanges.lastOf(IdentityRequest);
    auto settings = exchanges.failedSettings();
    return settings ? settings : exchanges.failedCapability();
}

std::string DetailLine(const char* label, const std::string& text) {
    return text.empty() ? "" : "  " + PadTo(label, 10) + PrintableText(text) + "\n";
}

} // namespace

std::string SDiagnosis::lines(const std::string& subject) const {
    return "vornhost: " + PrintableText(subject + ": " + problem) + "\n" + details();
}

std::string SDiagnosis::details() const {
    return DetailLine("plug-in", pluginText) + DetailLine("asked", request) + DetailLine("answered", reply) +
           DetailLine("try", advice);
}

SDiagnosis Diagnose(Occasion occasion, const CError& error, const CExchangeWatch& exchanges) {
    return DiagnoseEvidence({occasion, error, ExchangeToBlame(occasion, error, exchanges),
                             exchanges.wasReached(), exchanges.credentialSource()});
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

SDiagnosis DiagnoseOwn(const CFailure& failure) {
    static constexpr struct {
        OwnCause cause;
        const char* name;
        const char* advice;
    } Causes[] = {
        {OwnCause::WrongUsage, "wrong-usage", "see `vornhost VERB --help`"},
        {OwnCause::WrongFile, "wrong-file", "put the file right, or give another"},
        {OwnCause::CannotWrite, "cannot-write", "see whether there is room, and who may write there"},
        {OwnCause::NoPlugin, "no-plugin", "give the plug-in's library with --plugin FILE"},
        {OwnCause::Limit, "limit", "see what limits the program's memory and threads (ulimit -a)"},
    };
    const auto* const row = std::find_if(std::begin(Causes), std::end(Causes), [&failure](const auto& one) {
        return one.cause == failure.cause();
    });
    SDiagnosis diagnosis;
    diagnosis.problem = failure.what();
    diagnosis.reply = failure.what();
    diagnosis.advice = row->advice;
    diagnosis.cause = row->name;
    return diagnosis;
}

ordered_json ProblemObject(const SDiagnosis& diagnosis) {
    ordered_json problem{{"cause", diagnosis.cause}, {"certain", diagnosis.isCertain}};
    if (!diagnosis.phase.empty())
        problem["phase"] = diagnosis.phase;
    problem.update({{"asked", refhost::MaskSecrets(diagnosis.request)},
                    {"answered", diagnosis.reply},
                    {"try", diagnosis.advice}});
    return problem;
}

std::string ProblemLine(const SDiagnosis& diagnosis) {
    return JsonLine({{"problem", ProblemObject(diagnosis)}});
}

SDiagnosis DiagnoseExchange(Occasion occasion, const SWatchedExchange& exchange) {
    return DiagnoseEvidence(
        {occasion, CError(RtnCode::OperationFailed, Origin::Device, ""), exchange, false, ""});
}

SDiagnosis DiagnoseExchange(const SWatchedExchange& exchange, const CExchangeWatch& exchanges,
                            Occasion occasion) {
    return DiagnoseEvidence({occasion, CError(RtnCode::OperationFailed, Origin::Device, ""), exchange,
                             exchanges.wasReached(), exchanges.credentialSource()});
}

void TellRestart(SDiagnosis& problem, const std::string& address) {
    constexpr const char* BrokenOff[] = {"dropped",     "cut",         "unconfirmed",        "refused",
                                         "unreachable", "stream-lost", "stream-unreachable", "no-answer"};
    const bool isBrokenOff = std::any_of(std::begin(BrokenOff), std::end(BrokenOff),
                                         [&problem](const char* cause) { return problem.cause == cause; });
    if (!isBrokenOff || !TakesNoConnection(address))
        return;
    problem.problem = AwayProblem;
    problem.reply += "; now nobody takes a connection";
    problem.advice = AwayAdvice;
    problem.cause = Restarting;
    problem.isCertain = false;
}

std::optional<SDiagnosis> DiagnoseMissingSetting(const CExchangeWatch& exchanges,
                                                 const std::string& beginning) {
    const auto settings = exchanges.lastOf(SettingsRequest);
    if (!settings || settings->missingSetting.empty() || settings->missingSetting.rfind(beginning, 0) != 0)
        return std::nullopt;
    SDiagnosis diagnosis = DiagnoseExchange(*settings, exchanges);
    diagnosis.problem = "the camera does not tell a setting that a recorder needs";
    diagnosis.reply = "settings, and no " + settings->missingSetting;
    diagnosis.advice = "restart the camera; if it stays so, its firmware does not have the setting";
    diagnosis.cause = "not-reported";
    diagnosis.isCertain = true;
    return diagnosis;
}

std::optional<SDiagnosis> DiagnoseUnread(const CExchangeWatch& exchanges) {
    for (const auto& failed : {exchanges.failedSettings(), exchanges.failedCapability()})
        if (failed)
            return DiagnoseExchange(*failed, exchanges);
    return std::nullopt;
}

SDiagnosis ProcessLost(const std::string& problem, const std::string& phase) {
    SDiagnosis lost;
    lost.problem = problem;
    lost.advice = "see what limits the program's memory and processes (ulimit -a), then try again";
    lost.cause = "limit";
    lost.isCertain = false;
    lost.phase = phase;
    return lost;
}

SDiagnosis AnotherCamera(const std::string& expected, const std::string& found) {
    SDiagnosis other;
    other.problem = "another camera than the site file's answers at this address";
    other.request = "serial number " + expected;
    other.reply = found.empty() ? "none" : "serial number " + found;
    other.advice = "see which camera stands there, and put the file right; nothing was written";
    other.cause = "not-a-camera";
    return other;
}

SDiagnosis NotReported(const std::string& what, const std::string& phase) {
    SDiagnosis silent;
    silent.problem = "the camera does not report its " + what;
    silent.request = what;
    silent.reply = "nothing";
    silent.advice = "see with `vornhost show` what the camera has; restart it if it had it before";
    silent.cause = "not-reported";
    silent.phase = phase;
    return silent;
}

SDiagnosis WrongValue(const std::string& what, const std::string& asked, const std::string& choice) {
    SDiagnosis wrong;
    wrong.problem = "the camera has no " + what + " " + asked;
    wrong.request = what + "=" + asked + "; nothing was sent";
    wrong.reply = "it may be " + choice;
    wrong.advice = "give one of these";
    wrong.cause = "wrong-value";
    wrong.phase = "write";
    return wrong;
}

SDiagnosis NotAccepted(const std::string& what, const std::string& asked, const std::string& reported) {
    SDiagnosis diagnosis;
    diagnosis.problem = "the camera has taken the write, and reports another value of " + what;
    diagnosis.request = what + " " + asked;
    diagnosis.reply = reported.empty() ? "no value" : "it reports " + reported;
    diagnosis.advice = "see what else the camera is set to: some of its settings exclude others";
    diagnosis.cause = "not-accepted";
    diagnosis.phase = "read-back";
    return diagnosis;
}

} // namespace corvane::site
