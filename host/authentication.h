#pragma once

#include "host/text.h"

#include <utility>

namespace corvane::device_handler::v1_0 {

// What is told in the log of a device that does not offer Digest.
inline constexpr const char* BasicAloneText = "the camera offers Basic authentication alone";

// A device's credentials. A value type: the framework hands out copies, which do not follow later changes.
class CAuthentication {
public:
    CAuthentication() = default;
    CAuthentication(CString username, CString password)
        : username_(std::move(username)), password_(std::move(password)) {}

    // Credentials count as set when there is a user name; the password may be empty.
    bool isSet() const { return username_.has_value(); }

    // The two texts; an absent one reads as empty.
    std::string getUsername() const { return username_ ? username_->str() : std::string(); }
    std::string getPassword() const { return password_ ? password_->str() : std::string(); }

    // Whether they may answer a Digest challenge alone: Basic authentication shows the password to whoever
    // listens. The framework's HTTP helpers see to it themselves; what speaks to the device without them
    // asks.
    bool isBasicRefused() const { return isBasicRefused_; }
    void refuseBasic() { isBasicRefused_ = true; }

private:
    COptional<CString> username_;
    COptional<CString> password_;
    bool isBasicRefused_ = false;
};

} // namespace corvane::device_handler::v1_0
