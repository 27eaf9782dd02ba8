#include "refhost/streams/rtsp_authentication.h"

#include <glib.h>

#include <strings.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <utility>

namespace corvane::refhost {
namespace {

std::string Md5(const std::string& text) {
    gchar* const sum =
        g_compute_checksum_for_string(G_CHECKSUM_MD5, text.data(), static_cast<gssize>(text.size()));
    std::string result = sum;
    g_free(sum);
    return result;
}

std::string Base64(const std::string& text) {
    gchar* const encoded = g_base64_encode(reinterpret_cast<const guchar*>(text.data()), text.size());
    std::string result = encoded;
    g_free(encoded);
    return result;
}

std::string Quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + "\"";
}

bool IsScheme(const std::string& challenge, const char* name) {
    const std::size_t length = std::strlen(name);
    return strncasecmp(challenge.c_str(), name, length) == 0 &&
           (challenge.size() == length || challenge[length] == ' ');
}

// The parameters of a challenge, by their names in small letters.
std::map<std::string, std::string> ParametersOf(const std::string& challenge) {
    std::map<std::string, std::string> parameters;
    std::size_t at = std::min(challenge.find(' '), challenge.size());
    while (at < challenge.size()) {
        at = challenge.find_first_not_of(" ,\t", at);
        const std::size_t equals = challenge.find('=', at);
        if (at == std::string::npos || equals == std::string::npos)
            break;
        gchar* const name = g_ascii_strdown(challenge.data() + at, static_cast<gssize>(equals - at));
        std::string& value = parameters[name];
        g_free(name);
        at = equals + 1;
        if (at < challenge.size() && challenge[at] == '"') {
            for (++at; at < challenge.size() && challenge[at] != '"'; ++at)
                value += challenge[at] == '\\' && at + 1 < challenge.size() ? challenge[++at] : challenge[at];
            ++at;
        } else {
            const std::size_t end = std::min(challenge.find(',', at), challenge.size());
            value = challenge.substr(at, end - at);
            at = end;
        }
    }
    return parameters;
}

} // namespace

bool CRtspAuthentication::takeChallenge(const SRtspMessage& response) {
    if (!credentials_.isSet())
        return false;
    const AuthScheme before = scheme_;
    bool isDigestOffered = false;
    bool isBasicOffered = false;
    bool isStale = false;
    for (const auto& [name, challenge] : response.headers) {
        if (strcasecmp(name.c_str(), "WWW-Authenticate") != 0)
            continue;
        isBasicOffered = isBasicOffered || IsScheme(challenge, "Basic");
        if (IsScheme(challenge, "Digest") && !isDigestOffered)
            isDigestOffered = takeDigest(challenge, isStale);
        else
            isOtherDigest_ = isOtherDigest_ || IsScheme(challenge, "Digest");
    }
    isBasicAlone_ = isBasicOffered && !isDigestOffered;
    isBasicRefused_ = isBasicAlone_ && !mayUseBasic();
    if (isDigestOffered)
        scheme_ = AuthScheme::Digest;
    else if (isBasicAlone_ && !isBasicRefused_)
        scheme_ = AuthScheme::Basic;
    else
        return false;
    return before == AuthScheme::None || (isStale && !std::exchange(isRenewed_, true));
}

// Not where Digest has been seen, of whatever algorithm: it may be somebody in between who asks. Basic ends a
// name at its colon, and would log in as somebody else.
bool CRtspAuthentication::mayUseBasic() const {
    const std::string user = credentials_.getUsername();
    return scheme_ != AuthScheme::Digest && !isOtherDigest_ && !credentials_.isBasicRefused() &&
           user.find(':') == std::string::npos;
}

bool CRtspAuthentication::takeDigest(const std::string& challenge, bool& isStale) {
    auto parameters = ParametersOf(challenge);
    const std::string& algorithm = parameters["algorithm"];
    if (!algorithm.empty() && strcasecmp(algorithm.c_str(), "MD5") != 0) {
        isOtherDigest_ = true;
        return false;
    }
    realm_ = parameters["realm"];
    nonce_ = parameters["nonce"];
    opaque_ = parameters["opaque"];
    hasQop_ = parameters["qop"].find("auth") != std::string::npos;
    uses_ = 0;
    isStale = strcasecmp(parameters["stale"].c_str(), "true") == 0;
    return true;
}

std::string CRtspAuthentication::headerFor(const std::string& method, const std::string& url) {
    switch (scheme_) {
    case AuthScheme::None:
        return {};
    case AuthScheme::Basic:
        return "Basic " + Base64(credentials_.getUsername() + ":" + credentials_.getPassword());
    case AuthScheme::Digest:
        return digestFor(method, url);
    }
    return {};
}

std::string CRtspAuthentication::digestFor(const std::string& method, const std::string& url) {
    const std::string user = credentials_.getUsername();
    const std::string ofUser = Md5(user + ":" + realm_ + ":" + credentials_.getPassword());
    const std::string ofRequest = Md5(method + ":" + url);
    std::string header = "Digest username=" + Quoted(user) + ", realm=" + Quoted(realm_) +
                         ", nonce=" + Quoted(nonce_) + ", uri=" + Quoted(url);
    if (hasQop_) {
        char count[9];
        (void)std::snprintf(count, sizeof count, "%08x", ++uses_);
        char clientNonce[17];
        (void)std::snprintf(clientNonce, sizeof clientNonce, "%08x%08x", g_random_int(), g_random_int());
        header += std::string(", qop=auth, nc=") + count + ", cnonce=" + Quoted(clientNonce) + ", response=" +
                  Quoted(Md5(ofUser + ":" + nonce_ + ":" + count + ":" + clientNonce + ":auth:" + ofRequest));
    } else {
        header += ", response=" + Quoted(Md5(ofUser + ":" + nonce_ + ":" + ofRequest));
    }
    if (!opaque_.empty())
        header += ", opaque=" + Quoted(opaque_);
    return header;
}

} // namespace corvane::refhost
