#include "service/state_directory.h"

#include "site/base/environment.h"
#include "site/base/exit_status.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace corvane::service {
namespace {

namespace fs = std::filesystem;
using site::CFailure;
using site::EnvironmentVariable;
using site::ExitStatus;

// Of a variable that says an absolute path; others are as good as not set, as the XDG rules have it.
fs::path AbsolutePath(const char* variable) {
    const fs::path path = EnvironmentVariable(variable).value_or("");
    return path.is_absolute() ? path : fs::path();
}

} // namespace

std::string UsualStateDirectory() {
    const std::string given = EnvironmentVariable("STATE_DIRECTORY").value_or("");
    if (!given.empty())
        return given.substr(0, given.find(':'));
    if (const fs::path state = AbsolutePath("XDG_STATE_HOME"); !state.empty())
        return state / "vornhost";
    if (const fs::path home = AbsolutePath("HOME"); !home.empty())
        return home / ".local/state/vornhost";
    throw CFailure(ExitStatus::WrongUsage, "there is no state directory: neither STATE_DIRECTORY nor "
                                           "XDG_STATE_HOME nor HOME is set; say it with --state DIR");
}

void MakeStateDirectory(const std::string& directory) {
    std::error_code failure;
    fs::path path = fs::absolute(directory, failure).lexically_normal();
    if (!path.has_filename())
        path = path.parent_path();
    if (!failure)
        fs::create_directories(path.parent_path(), failure);
    // Not create_directory(), after which others could look into it for a moment.
    if (!failure && ::mkdir(path.c_str(), S_IRWXU) != 0) {
        const std::error_code reason(errno, std::generic_category());
        if (!fs::is_directory(path, failure))
            failure = reason;
    }
    if (failure)
        throw CFailure(ExitStatus::WrongUsage,
                       "the state directory \"" + directory + "\" cannot be made: " + failure.message(),
                       site::OwnCause::CannotWrite);
}

std::string TokenFileIn(const std::string& directory) {
    return fs::path(directory) / "tokens.json";
}

} // namespace corvane::service
