#pragma once

// What the kit needs of the host that it looks at, besides what host/ declares.

#include <host/device_context.h>
#include <host/handler_context.h>

#include <functional>
#include <map>
#include <string>

namespace conformance {

using namespace corvane::device_handler::v1_0;

struct SHostUnderTest {
    // A device with these credentials. Two contexts of one address are the same device.
    std::function<boost::shared_ptr<IDeviceContext>(const std::string& address, CAuthentication credentials)>
        makeDevice;
    // Gives a device of makeDevice() other credentials; empty for a host whose credentials never change.
    std::function<void(IDeviceContext& device, CAuthentication credentials)> changeCredentials;
    // Empty for a host that makes no handlers.
    std::function<boost::shared_ptr<IHandlerContext>(boost::shared_ptr<CVornModelList> models)>
        makeHandlerContext;
    // Where every level of the log comes out; empty: on standard error.
    std::function<std::string()> takeLog;

    // What the host does not claim, by the name of a check or of its group ("database", "http.digest"), with
    // the reason; it is told and not looked at.
    std::map<std::string, std::string> notClaimed;
};

// Defined by whoever brings a host.
SHostUnderTest TheHost();

} // namespace conformance
