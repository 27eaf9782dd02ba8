#pragma once

#include <string>
#include <utility>

namespace corvane::device_handler::v1_0 {

// What became of an operation.
enum class RtnCode : int {
    Success = 1,
    OperationFailed = 2,
    NotSupported = 3,
    DeviceDbUnavailable = 6,
    NotAccessible = 7, // the device cannot be reached, or does not have the property
    AuthenticationFailed = 10,
    OutOfRange = 15,
    NotSet = 16, // something needed is not set or was not found
};

// Who found the failure.
enum class Origin : int {
    General = 0,
    Handler = 3, // the device handler, before or after it asked the device
    Device = 4,  // the exchange with the device
};

// The result of every host-facing operation: a code, an origin and an English text. Failures are values, not
// exceptions. Immutable once built, so it may be read from any thread.
class CError {
public:
    CError(RtnCode code, Origin origin, std::string text)
        : code_(code), origin_(origin), text_(std::move(text)) {}

    static CError Success() { return {RtnCode::Success, Origin::General, std::string()}; }

    int getCode() const { return static_cast<int>(code_); }
    int getOrigin() const { return static_cast<int>(origin_); }
    const std::string& getText() const { return text_; }

    // True for a failure, so that `if (const CError error = operation(); error) return error;` reads as
    // meant.
    explicit operator bool() const { return code_ != RtnCode::Success; }

private:
    RtnCode code_;
    Origin origin_;
    std::string text_;
};

} // namespace corvane::device_handler::v1_0
