#pragma once

#include "host/model_info.h"
#include "host/text.h"

#include <string>
#include <utility>

namespace corvane::device_handler::v1_0 {

// Who a device is: its family and its serial number.
class CDeviceId {
public:
    CDeviceId(const SFamily& family, CString serialNumber)
        : familyName_(family.name), serialNumber_(std::move(serialNumber)) {}

    const std::string& getFamilyName() const { return familyName_; }
    const CString& getSerialNumber() const { return serialNumber_; }

private:
    std::string familyName_;
    CString serialNumber_;
};

} // namespace corvane::device_handler::v1_0
