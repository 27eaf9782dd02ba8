#pragma once

#include "site/base/names.h"
#include "site/session/options.h"

#include <optional>
#include <string>

namespace corvane::site {

// A password file's first line. Throws CFailure.
std::string ReadPassword(const std::string& file);

// Which credentials a device is to be given: none, those that the user gave, or its family's defaults for
// whatever the user left out.
class CCredentials {
public:
    // From --no-credentials, --user, --password-file and the environment. Throws CFailure.
    static CCredentials fromOptions(const SOptions& options);
    static CCredentials none();
    // Reads the password file. Throws CFailure.
    static CCredentials given(const std::string& user, const std::string& passwordFile);

    // Nothing where it is the family's.
    const std::optional<std::string>& user() const { return user_; }
    // Where the user comes from, for people.
    std::string source() const;
    // For a device of this family; null when the family is not known.
    CAuthentication forFamily(const SFamily* family) const;

    friend bool operator==(const CCredentials& a, const CCredentials& b) {
        return a.none_ == b.none_ && a.user_ == b.user_ && a.password_ == b.password_;
    }

private:
    bool none_ = false;
    bool isOfEnvironment_ = false; // the user
    std::optional<std::string> user_;
    std::optional<std::string> password_;
};

} // namespace corvane::site
