#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace camsim {

enum class AuthScheme { None, Basic, Digest };

// What the command line and the control interface call them.
inline constexpr std::pair<const char*, AuthScheme> AuthSchemes[] = {
    {"none", AuthScheme::None}, {"basic", AuthScheme::Basic}, {"digest", AuthScheme::Digest}};

// What the cameras call the place that their credentials are for, over HTTP and RTSP alike.
inline constexpr const char* AuthenticationRealm = "Panasonic network device";

// What came of looking at a request's credentials.
struct SAuthVerdict {
    bool accepted;
    // "none", "basic", "digest" (good ones), "stale" (right, but the nonce has had its time) or "wrong".
    std::string_view credentials;
};

// Decides whether a request may be answered, and what to challenge it with. A nonce is good for every method
// and path of the camera that gave it, as with the cameras (libmicrohttpd binds a nonce to one path, so a
// client would pay two round trips for each). Every operation may be called on any thread.
class CAuthenticator {
public:
    CAuthenticator(AuthScheme scheme, const std::string& user, const std::string& password,
                   int64_t nonceLifetimeSeconds);

    // `authorization` is the header's value, or null without one; `target` the request target as it was
    // sent.
    SAuthVerdict check(std::string_view method, std::string_view target, const char* authorization,
                       size_t camera) const {
        return checkAs(scheme_, method, target, authorization, camera);
    }
    // The same, as if this were the scheme.
    SAuthVerdict checkAs(AuthScheme scheme, std::string_view method, std::string_view target,
                         const char* authorization, size_t camera) const;

    // The WWW-Authenticate value of a 401; empty when no credentials are asked for.
    std::string challenge(size_t camera, bool stale) const { return challengeAs(scheme_, camera, stale); }
    std::string challengeAs(AuthScheme scheme, size_t camera, bool stale) const;

    // Of every request from now on.
    void setScheme(AuthScheme scheme) { scheme_ = scheme; }
    void setPassword(const std::string& password);

    // From now on the nonce of these digest credentials counts as stale. False when they are no digest
    // credentials. At most MostRetired such nonces are kept; when the oldest is dropped, it and all nonces
    // made before it count as stale.
    bool retireNonce(const char* authorization);

    // About as many as there may be connections: a client uses one nonce at a time.
    static constexpr size_t MostRetired = 1000;

private:
    SAuthVerdict checkDigest(std::string_view method, std::string_view target, std::string_view authorization,
                             size_t camera) const;
    bool isRightBasic(std::string_view authorization) const;
    std::string userHash() const;
    bool fresh(const std::string& nonce, size_t camera) const;
    std::string signedNonce(const std::string& stamp, size_t camera) const;

    std::atomic<AuthScheme> scheme_;
    const std::string user_;
    const int64_t nonceLifetimeSeconds_;
    const std::string secret_;
    mutable std::atomic<uint32_t> noncesGiven_{0};

    mutable std::mutex mutex_;
    std::string basicCredentials_;  // guarded by mutex_; the Authorization value that is right
    std::string userHash_;          // guarded by mutex_; MD5 of user:realm:password
    std::set<std::string> retired_; // guarded by mutex_; the oldest first, since a nonce begins with its time
    std::string newestDropped_;     // guarded by mutex_
};

} // namespace camsim
