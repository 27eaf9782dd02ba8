#include "site/diagnosis/evidence.h"

#include "refhost/base/printable_text.h"
#include "refhost/http/connection_probe.h"
#include "refhost/http/tls_probe.h"
#include "site/base/terminal_text.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace corvane::site {
namespace {

constexpr double SlowReply = 2000; // ms; an identification has 5 s for two of them
constexpr int BadRequest = 400;    // what some say to who does not speak TLS
constexpr int Unauthorized = 401;
constexpr int Busy = 503;
constexpr std::size_t ExcerptCharacters = 80;
constexpr const char* NameKey = "NAME=";

// The beginning of a body, in one line.
std::string Excerpt(std::string body) {
    std::replace_if(
        body.begin(), body.end(), [](unsigned char c) { return c < ' '; }, ' ');
    const std::string text = PrintableText(body);
    std::size_t end = 0;
    for (std::size_t count = 0; end < text.size() && count < ExcerptCharacters; ++count)
        end += refhost::CharacterAt(text, end).length;
    return text.substr(0, end);
}

} // namespace

bool IsMove(const SHttpExchange& exchange) {
    constexpr const char* Paths[] = {"/absctrl", "/directctrl", "/camctrl", "/camposiset", "/set_patrol"};
    return std::any_of(std::begin(Paths), std::end(Paths), [&exchange](const char* path) {
        return exchange.path.find(path) != std::string::npos;
    });
}

bool TakesNoConnection(const std::string& address) {
    constexpr std::chrono::seconds Patience{1};
    return refhost::ProbeConnection(address, Patience).kind != HttpFailure::None;
}

bool SEvidence::isUnconfirmedWrite() const {
    return exchange && (exchange->method == "POST" || IsMove(*exchange)) &&
           (failedBy(HttpFailure::NoAnswer) || failedBy(HttpFailure::Dropped) || failedBy(HttpFailure::Cut) ||
            failedBy(HttpFailure::Slow) || failedBy(HttpFailure::NotHttp));
}

bool SEvidence::hasStatus(int from, int to) const {
    return exchange && !exchange->failure.empty() && from <= exchange->status && exchange->status <= to;
}

bool SEvidence::wantsCredentials() const {
    return isCode(RtnCode::AuthenticationFailed) ||
           (isCode(RtnCode::NotSet) && error.getText().find("Authentication") != std::string::npos);
}

bool SEvidence::isSlow() const {
    return exchange && exchange->status == HttpOk && exchange->milliseconds > SlowReply;
}

bool SEvidence::isEmpty() const {
    return exchange && exchange->status == HttpOk && exchange->reply.empty();
}

bool SEvidence::isAlien() const {
    if (!exchange || exchange->status != HttpOk || isEmpty())
        return false;
    const std::size_t first = std::min(exchange->reply.find_first_not_of(" \t\r\n"), exchange->reply.size());
    return exchange->reply[first] == '<' || (occasion == Occasion::Identification && !tellsAName());
}

namespace {

// In whatever case: what only the plug-in's cameras say of themselves.
bool LooksLikeACamera(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text.find("FILEVER=") != std::string::npos || text.find("MAC=") != std::string::npos;
}

bool IsText(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](unsigned char c) {
        return c >= 0x7F || (c < ' ' && c != '\r' && c != '\n' && c != '\t');
    });
}

} // namespace

bool SEvidence::isNameless() const {
    return occasion == Occasion::Identification && exchange && exchange->status == HttpOk && !tellsAName() &&
           IsText(exchange->reply) && exchange->reply.find("MAC=") != std::string::npos &&
           exchange->reply.find("SERIAL=") != std::string::npos;
}

bool SEvidence::isDamagedIdentity() const {
    return occasion == Occasion::Identification && exchange && exchange->status == HttpOk && !tellsAName() &&
           LooksLikeACamera(exchange->reply);
}

bool SEvidence::tellsAName() const {
    return exchange && exchange->reply.find(NameKey) != std::string::npos;
}

bool SEvidence::isAskedForEver() const {
    return hasStatus(Unauthorized) && !exchange->user.empty() &&
           (exchange->isAskedForEver || exchange->authentication == refhost::AuthScheme::None);
}

bool SEvidence::speaksTls() const {
    const bool isLikeIt =
        failedBy(HttpFailure::NotHttp) || failedBy(HttpFailure::Dropped) || hasStatus(BadRequest);
    return isLikeIt && refhost::SpeaksTls(exchange->address);
}

bool SEvidence::isAway() const {
    if (!wasReachedBefore || !exchange)
        return false;
    if (failedBy(HttpFailure::Refused) || failedBy(HttpFailure::Unreachable))
        return true;
    const bool isBrokenOff = failedBy(HttpFailure::Dropped) || failedBy(HttpFailure::Cut) ||
                             failedBy(HttpFailure::NoAnswer) || hasStatus(Busy);
    return isBrokenOff && TakesNoConnection(exchange->address);
}

bool SEvidence::hasFaultyReply() const {
    return exchange && exchange->fault && !isEmpty() && !isAlien();
}

std::string SEvidence::answered() const {
    if (!exchange)
        return {};
    if (exchange->status == HttpOk)
        return isSlow() && !exchange->fault ? "after " + MillisecondsText(exchange->milliseconds)
               : isEmpty()                  ? "nothing behind the HTTP header"
                                            : Excerpt(exchange->reply);
    std::string text = exchange->failure;
    if (exchange->status == Unauthorized && !exchange->user.empty())
        text += ", to user \"" + exchange->user + "\"" +
                (credentialSource.empty() ? "" : " (" + credentialSource + ")");
    if (!exchange->location.empty())
        text += ", to " + PrintableText(refhost::MaskSecrets(exchange->location));
    else if (exchange->status != 0 && exchange->status != Unauthorized && !exchange->reply.empty())
        text += ": " + Excerpt(exchange->reply);
    return text;
}

} // namespace corvane::site
