#include "site/session/credentials.h"

#include "site/base/environment.h"
#include "site/base/exit_status.h"

#include <cerrno>
#include <fstream>
#include <system_error>

namespace corvane::site {
namespace {

constexpr const char* UserVariable = "VORNHOST_USER";
constexpr const char* PasswordVariable = "VORNHOST_PASSWORD";
constexpr std::size_t LongestPassword = 4096;

// An empty user name is no user name.
std::optional<std::string> GivenUser(const std::optional<std::string>& user) {
    const std::optional<std::string> given = user ? user : EnvironmentVariable(UserVariable);
    return given && !given->empty() ? given : std::nullopt;
}

} // namespace

std::string ReadPassword(const std::string& file) {
    errno = 0;
    std::ifstream in(file);
    std::string password;
    char byte = 0;
    bool any = false;
    while (password.size() <= LongestPassword && in.get(byte)) {
        any = true;
        if (byte == '\n')
            break;
        password += byte;
    }
    if (!any)
        throw CFailure(ExitStatus::WrongUsage,
                       "the password file \"" + file + "\" cannot be used: " +
                           (errno != 0 ? std::generic_category().message(errno)
                                       : "expected the password on its first line"),
                       OwnCause::WrongFile);
    if (password.size() > LongestPassword)
        throw CFailure(ExitStatus::WrongUsage,
                       "the password file \"" + file + "\" cannot be used: its first line is longer than " +
                           std::to_string(LongestPassword) + " bytes",
                       OwnCause::WrongFile);
    if (!password.empty() && password.back() == '\r')
        password.pop_back();
    return password;
}

CCredentials CCredentials::fromOptions(const SOptions& options) {
    if (options.noCredentials && (options.user || options.passwordFile))
        throw CFailure(ExitStatus::WrongUsage,
                       "--no-credentials excludes --user and --password-file: give one or the other");
    CCredentials credentials;
    credentials.none_ = options.noCredentials;
    if (options.noCredentials)
        return credentials;
    credentials.user_ = GivenUser(options.user);
    credentials.isOfEnvironment_ = !options.user;
    credentials.password_ = options.passwordFile ? std::optional(ReadPassword(*options.passwordFile))
                                                 : EnvironmentVariable(PasswordVariable);
    if (credentials.password_)
        refhost::AddSecret(*credentials.password_);
    return credentials;
}

CCredentials CCredentials::none() {
    CCredentials credentials;
    credentials.none_ = true;
    return credentials;
}

CCredentials CCredentials::given(const std::string& user, const std::string& passwordFile) {
    CCredentials credentials;
    credentials.user_ = user;
    credentials.password_ = ReadPassword(passwordFile);
    refhost::AddSecret(*credentials.password_);
    return credentials;
}

std::string CCredentials::source() const {
    if (!user_)
        return password_ ? "the family's default user" : "the family's default";
    return isOfEnvironment_ ? std::string("from ") + UserVariable : "given";
}

CAuthentication CCredentials::forFamily(const SFamily* family) const {
    const std::string defaultUser = family ? family->user : "";
    const std::string user = user_.value_or(defaultUser);
    if (none_ || user.empty())
        return {};
    // The family's password belongs to its own user only; nobody else's account is tried with it.
    const std::string defaultPassword = family && user == defaultUser ? family->password : "";
    return {user, password_.value_or(defaultPassword)};
}

} // namespace corvane::site
