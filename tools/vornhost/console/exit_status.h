#pragma once

#include <stdexcept>
#include <string>

namespace corvane::vornhost {

// What the program tells its caller.
enum class ExitStatus : int {
    Success = 0,    // every call succeeded
    CallFailed = 1, // some call failed
    WrongUsage = 2, // arguments, operation names or files that cannot be used
    NotStarted = 3, // the plug-in could not be loaded, or the camera not be initialised
};

// Ends the program with a status and a reason for the user.
class CFailure : public std::runtime_error {
public:
    CFailure(ExitStatus status, const std::string& reason) : std::runtime_error(reason), status_(status) {}

    ExitStatus status() const { return status_; }

private:
    ExitStatus status_;
};

} // namespace corvane::vornhost
