#pragma once

#include "host/api.h"
#include "host/authentication.h"
#include "host/device_id.h"
#include "host/log.h"
#include "host/model_list.h"
#include "host/text.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <string>

namespace corvane::device_handler::v1_0 {

// What the framework keeps for one device handler. Outlives the handler; every operation may be called from
// any thread.
class VORN_HOST_API IHandlerContext {
public:
    virtual ~IHandlerContext() = default;

    // The families that the handler supports; their number does not change while the handler lives.
    virtual std::size_t getFamilyCount() const = 0;
    // The i-th family, i below the count. Lives as long as the context's model list.
    virtual const SFamily* getFamily(std::size_t i) const = 0;

    // Whether the framework refuses to query this device. True: the handler answers without any traffic.
    virtual bool isQueryRefused(const std::string& address, const COptional<CDeviceId>& deviceId,
                                const CAuthentication& authentication) = 0;

    // The handler's logging function; copies outlive the context.
    virtual CLogFunction getLog() const = 0;

    virtual boost::shared_ptr<CVornModelList> getModelList() const = 0;
};

} // namespace corvane::device_handler::v1_0
