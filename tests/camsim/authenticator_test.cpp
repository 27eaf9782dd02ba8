// Which nonces of digest authentication are still good.

#include "net/authenticator.h"
#include "tests/support/md5.h"

#include <gtest/gtest.h>

namespace {

using namespace camsim;
using corvane::tests::Md5;

// The credentials that a client makes of the challenge for GET /x.
std::string CredentialsFor(const std::string& challenge) {
    const std::string begin = "nonce=\"";
    const size_t at = challenge.find(begin) + begin.size();
    const std::string nonce = challenge.substr(at, challenge.find('"', at) - at);
    const std::string user = Md5("admin:" + std::string(AuthenticationRealm) + ":12345");
    return "Digest username=\"admin\", realm=\"" + std::string(AuthenticationRealm) + "\", nonce=\"" + nonce +
           "\", uri=\"/x\", response=\"" + Md5(user + ":" + nonce + ":" + Md5("GET:/x")) + "\"";
}

TEST(RetiredNonces, AreForgottenWithAllThatAreOlder) {
    CAuthenticator authenticator(AuthScheme::Digest, "admin", "12345", 3600);
    const auto next = [&] { return CredentialsFor(authenticator.challenge(0, false)); };
    const auto verdict = [&](const std::string& credentials) {
        return authenticator.check("GET", "/x", credentials.c_str(), 0).credentials;
    };
    const std::string oldest = next();
    const std::string second = next();
    authenticator.retireNonce(second.c_str());
    std::string last;
    for (size_t i = 1; i < CAuthenticator::MostRetired; ++i)
        authenticator.retireNonce((last = next()).c_str());
    const std::string newest = next();
    EXPECT_EQ(verdict(oldest), "digest");
    EXPECT_EQ(verdict(second), "stale");
    EXPECT_EQ(verdict(last), "stale");
    authenticator.retireNonce(next().c_str());
    EXPECT_EQ(verdict(oldest), "stale");
    EXPECT_EQ(verdict(second), "stale"); // though it is no longer in the list
    EXPECT_EQ(verdict(last), "stale");
    EXPECT_EQ(verdict(newest), "digest");
}

} // namespace
