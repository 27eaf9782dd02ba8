#pragma once

#include "refhost/base/auth_scheme.h"
#include "refhost/base/names.h"
#include "refhost/streams/rtsp_message.h"

#include <string>

namespace corvane::refhost {

// Answers a camera's challenges over RTSP, by Digest (MD5) where it is offered and else by Basic; no other
// scheme is spoken, and Basic not where the credentials refuse it. Used on one thread.
class CRtspAuthentication {
public:
    explicit CRtspAuthentication(CAuthentication credentials) : credentials_(std::move(credentials)) {}

    // A request is sent for the first time.
    void beginRequest() { isRenewed_ = false; }
    // Takes in a response with status 401. Whether the request is worth another attempt: the first time that
    // a challenge can be answered, and once a request for a nonce that has grown old.
    bool takeChallenge(const SRtspMessage& response);
    // Whether the challenge that was taken in last offered Basic alone, and whether that is refused.
    bool isBasicAlone() const { return isBasicAlone_; }
    bool isBasicRefused() const { return isBasicRefused_; }
    // With what the next request shows the credentials.
    AuthScheme scheme() const { return scheme_; }
    // The Authorization header's value for a request; empty while nothing has asked for one.
    std::string headerFor(const std::string& method, const std::string& url);

private:
    bool takeDigest(const std::string& challenge, bool& isStale);
    bool mayUseBasic() const;
    std::string digestFor(const std::string& method, const std::string& url);

    const CAuthentication credentials_;
    AuthScheme scheme_ = AuthScheme::None;
    std::string realm_;
    std::string nonce_;
    std::string opaque_;
    bool hasQop_ = false;
    unsigned uses_ = 0;          // of the nonce
    bool isOtherDigest_ = false; // one of an algorithm that is not spoken has been offered
    bool isBasicAlone_ = false;
    bool isBasicRefused_ = false;
    bool isRenewed_ = false; // the nonce, for the request under way
};

} // namespace corvane::refhost
