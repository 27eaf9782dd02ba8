#pragma once

#include "host/api.h"
#include "host/authentication.h"
#include "host/error.h"
#include "host/text.h"

#include <boost/shared_ptr.hpp>

#include <string>

namespace corvane::device_handler::v1_0 {

// The classes of inputs that the device database keeps values for.
enum class InputClass : int { Video = 0, Audio = 1, DryContact = 2 };

// One device's record in the recorder's device database. Every operation may be called from any thread;
// writes are durable when they return. What the database itself cannot do fails with DeviceDbUnavailable.
class VORN_HOST_API IDeviceDbProxy {
public:
    virtual ~IDeviceDbProxy() = default;

    // The name of the device's family, as it was identified; empty when nobody has identified it.
    virtual std::string getFamily() const = 0;

    // A value of the device itself. An absent value fails with NotSet, and `value` is left unchanged.
    virtual CError readValue(const std::string& key, CString& value) const = 0;
    virtual CError writeValue(const std::string& key, const CString& value) = 0;

    // A value of one of the device's inputs, numbered from 0.
    virtual CError readInputValue(InputClass inputClass, int input, const std::string& key,
                                  CString& value) const = 0;
    virtual CError writeInputValue(InputClass inputClass, int input, const std::string& key,
                                   const CString& value) = 0;
};

// What the framework keeps for one device. Every operation may be called from any thread.
class VORN_HOST_API IDeviceContext {
public:
    virtual ~IDeviceContext() = default;

    // Logs one line for the device; `format` and the arguments are printf's, levels those of LogLevel.
    virtual void log(int level, const char* format, ...) VORN_PRINTF_FORMAT(3, 4) = 0;

    // The device's record in the device database; empty when the database is not available.
    virtual boost::shared_ptr<IDeviceDbProxy> getDeviceDbProxy() = 0;

    // The device's credentials at this moment. They may change between two calls, so nobody keeps them.
    virtual CAuthentication getAuthentication() = 0;
};

} // namespace corvane::device_handler::v1_0
