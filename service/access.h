#pragma once

#include "service/http_message.h"
#include "service/tokens.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace corvane::service {

// Who asks.
struct SClient {
    std::string name; // of the token
    Role role = Role::View;
};

// A browser that has logged in.
struct SSession {
    SClient client;
    std::chrono::system_clock::time_point expires;
};

struct SAccessRules {
    std::string tokenFile;
    std::vector<std::string> hosts; // addresses that the service is asked as, without ports
    // Further names. What stands before the service may speak TLS for it there.
    std::vector<std::string> publicHosts;
    bool isSecure = false; // TLS
};

// Who may ask for what. Callable from any thread; what refuses throws CRefusal.
class CAccess {
public:
    // Throws site::CFileError for a token file that cannot be read.
    explicit CAccess(SAccessRules rules);

    // Whether the request was meant for this service, and is unambiguous.
    void requireHost(const SHttpRequest& request) const;
    SClient require(const SHttpRequest& request, Role least);
    // Of what changes something: from this service's own page, where a browser sends it, and JSON where it
    // has a body.
    void requireOwnChange(const SHttpRequest& request) const;

    // The session that a token opens, and the header that gives it to the browser.
    std::pair<SSession, std::string> logIn(const SHttpRequest& request, const std::string& token);
    // The request's session; nothing without one.
    std::optional<SSession> session(const SHttpRequest& request);
    // Forgets the session, and returns the header that makes the browser forget it.
    std::string logOut(const SHttpRequest& request);

private:
    struct SKept {
        SSession session;
        TokenHash token; // that opened it
    };

    std::optional<SClient> clientOf(const std::string& token, const std::string& remote);
    const std::vector<STokenEntry>& entries();
    SKept* find(const SHttpRequest& request);
    void noteWrong(const std::string& remote);
    void forgetExpired();
    std::string cookie(const std::string& value, std::chrono::seconds age) const;

    const SAccessRules rules_;

    std::mutex mutex_; // guards what follows
    std::vector<STokenEntry> entries_;
    std::filesystem::file_time_type read_;  // the file's time when it was read
    std::string toldFailure_;               // why it could not be read again
    std::map<std::string, SKept> sessions_; // by the hash of the cookie's value
    struct SWrong {
        std::chrono::steady_clock::time_point since;
        unsigned count = 0;
    };
    std::map<std::string, SWrong> wrong_; // tokens, by who sent them
};

} // namespace corvane::service
