#pragma once

#include <stdexcept>
#include <string>

namespace corvane::site {

// What the program tells its caller.
enum class ExitStatus : int {
    Success = 0,    // every call succeeded
    CallFailed = 1, // some call failed
    WrongUsage = 2, // arguments, operation names or files that cannot be used
    NotStarted = 3, // the plug-in could not be loaded, or the camera not be initialised
};

// Why a file cannot be written, for people; begins with UnwritableFile.
inline constexpr const char* UnwritableFile = "the file \"";
inline std::string UnwritableText(const std::string& path, const std::string& reason) {
    return UnwritableFile + path + "\" cannot be written: " + reason;
}

// What on this side is to blame, where no camera is.
enum class OwnCause { WrongUsage, WrongFile, CannotWrite, NoPlugin, Limit };

// Ends the program with a status and a reason for the user.
class CFailure : public std::runtime_error {
public:
    CFailure(ExitStatus status, const std::string& reason, OwnCause cause = OwnCause::WrongUsage)
        : std::runtime_error(reason), status_(status), cause_(cause) {}

    ExitStatus status() const { return status_; }
    OwnCause cause() const { return cause_; }

private:
    ExitStatus status_;
    OwnCause cause_;
};

} // namespace corvane::site
