#include "net/authenticator.h"

#include <charconv>
#include <cstdio>
#include <ctime>
#include <glib.h>
#include <map>
#include <random>
#include <strings.h>

namespace camsim {
namespace {

constexpr std::string_view Realm = AuthenticationRealm;
constexpr std::string_view BasicPrefix = "Basic ";
constexpr std::string_view DigestPrefix = "Digest ";
// A nonce begins with the second and the running number of its making, both as hexadecimal digits.
constexpr size_t StampDigits = 8;

std::string Md5(const std::string& text) {
    gchar* digest = g_compute_checksum_for_data(G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(text.data()),
                                                text.size());
    std::string result(digest);
    g_free(digest);
    return result;
}

std::string Base64(const std::string& text) {
    gchar* encoded = g_base64_encode(reinterpret_cast<const guchar*>(text.data()), text.size());
    std::string result(encoded);
    g_free(encoded);
    return result;
}

std::string Hex(uint32_t number) {
    char digits[StampDigits + 1];
    std::snprintf(digits, sizeof digits, "%08x", number);
    return digits;
}

std::string RandomSecret() {
    std::random_device device;
    return Hex(device()) + Hex(device()) + Hex(device()) + Hex(device());
}

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

std::string_view TrimLeft(std::string_view text) {
    const size_t start = text.find_first_not_of(" \t,");
    return start == text.npos ? std::string_view() : text.substr(start);
}

// Takes a value, quoted or not, off the front of `text`.
std::string TakeValue(std::string_view& text) {
    std::string value;
    if (text.empty() || text.front() != '"') {
        const size_t end = std::min(text.find(','), text.size());
        value = text.substr(0, end);
        text.remove_prefix(end);
        value.erase(value.find_last_not_of(" \t") + 1);
        return value;
    }
    size_t i = 1;
    for (; i < text.size() && text[i] != '"'; ++i) {
        if (text[i] == '\\' && i + 1 < text.size())
            ++i;
        value += text[i];
    }
    text.remove_prefix(std::min(text.size(), i + 1));
    return value;
}

using Fields = std::map<std::string, std::string>;

Fields ParseDigestFields(std::string_view authorization) {
    Fields fields;
    std::string_view rest = TrimLeft(authorization.substr(DigestPrefix.size()));
    while (!rest.empty()) {
        const size_t equals = rest.find('=');
        if (equals == rest.npos)
            break;
        const std::string name(rest.substr(0, equals));
        rest.remove_prefix(equals + 1);
        fields[name] = TakeValue(rest);
        rest = TrimLeft(rest);
    }
    return fields;
}

std::string ExpectedResponse(Fields& fields, const std::string& userHash, std::string_view method) {
    const std::string requestHash = Md5(std::string(method) + ":" + fields["uri"]);
    if (fields["qop"].empty())
        return Md5(userHash + ":" + fields["nonce"] + ":" + requestHash);
    return Md5(userHash + ":" + fields["nonce"] + ":" + fields["nc"] + ":" + fields["cnonce"] + ":" +
               fields["qop"] + ":" + requestHash);
}

} // namespace

CAuthenticator::CAuthenticator(AuthScheme scheme, const std::string& user, const std::string& password,
                               int64_t nonceLifetimeSeconds)
    : scheme_(scheme), user_(user), nonceLifetimeSeconds_(nonceLifetimeSeconds), secret_(RandomSecret()) {
    setPassword(password);
}

void CAuthenticator::setPassword(const std::string& password) {
    const std::lock_guard<std::mutex> lock(mutex_);
    basicCredentials_ = std::string(BasicPrefix) + Base64(user_ + ":" + password);
    userHash_ = Md5(user_ + ":" + std::string(Realm) + ":" + password);
}

SAuthVerdict CAuthenticator::checkAs(AuthScheme scheme, std::string_view method, std::string_view target,
                                     const char* authorization, size_t camera) const {
    if (authorization == nullptr)
        return {scheme == AuthScheme::None, "none"};
    const std::string_view text(authorization);
    if (scheme == AuthScheme::None)
        return {true, StartsWith(text, DigestPrefix) ? "digest" : "basic"};
    if (scheme == AuthScheme::Basic)
        return isRightBasic(text) ? SAuthVerdict{true, "basic"} : SAuthVerdict{false, "wrong"};
    return StartsWith(text, DigestPrefix) ? checkDigest(method, target, text, camera)
                                          : SAuthVerdict{false, "wrong"};
}

bool CAuthenticator::isRightBasic(std::string_view authorization) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return authorization == basicCredentials_;
}

std::string CAuthenticator::userHash() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return userHash_;
}

SAuthVerdict CAuthenticator::checkDigest(std::string_view method, std::string_view target,
                                         std::string_view authorization, size_t camera) const {
    Fields fields = ParseDigestFields(authorization);
    const bool qopKnown = fields["qop"].empty() || fields["qop"] == "auth";
    const bool right = qopKnown && fields["username"] == user_ && fields["realm"] == Realm &&
                       fields["uri"] == target &&
                       fields["response"] == ExpectedResponse(fields, userHash(), method);
    if (!right)
        return {false, "wrong"};
    return fresh(fields["nonce"], camera) ? SAuthVerdict{true, "digest"} : SAuthVerdict{false, "stale"};
}

std::string CAuthenticator::challengeAs(AuthScheme scheme, size_t camera, bool stale) const {
    const std::string quotedRealm = "realm=\"" + std::string(Realm) + "\"";
    switch (scheme) {
    case AuthScheme::None:
        return "";
    case AuthScheme::Basic:
        return std::string(BasicPrefix) + quotedRealm;
    case AuthScheme::Digest:
        break;
    }
    const std::string stamp = Hex(static_cast<uint32_t>(std::time(nullptr))) + Hex(noncesGiven_++);
    return std::string(DigestPrefix) + quotedRealm + ", nonce=\"" + signedNonce(stamp, camera) +
           "\", algorithm=MD5, qop=\"auth\"" + (stale ? ", stale=true" : "");
}

bool CAuthenticator::retireNonce(const char* authorization) {
    if (authorization == nullptr || !StartsWith(authorization, DigestPrefix))
        return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    retired_.insert(ParseDigestFields(authorization)["nonce"]);
    if (retired_.size() > MostRetired)
        newestDropped_ = std::max(newestDropped_, retired_.extract(retired_.begin()).value());
    return true;
}

bool CAuthenticator::fresh(const std::string& nonce, size_t camera) const {
    if (nonce != signedNonce(nonce.substr(0, 2 * StampDigits), camera))
        return false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (nonce <= newestDropped_ || retired_.count(nonce) != 0)
            return false;
    }
    int64_t made = 0;
    std::from_chars(nonce.data(), nonce.data() + StampDigits, made, 16);
    return std::time(nullptr) - made <= nonceLifetimeSeconds_;
}

std::string CAuthenticator::signedNonce(const std::string& stamp, size_t camera) const {
    return stamp + Md5(stamp + ":" + std::to_string(camera) + ":" + secret_);
}

} // namespace camsim
