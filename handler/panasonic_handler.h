#pragma once

#include "handler/device_query.h"
#include "host/handler.h"

#include <boost/shared_ptr.hpp>

#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace corvane::panasonic_handler {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CDeviceId;
using device_handler::v1_0::COptional;
using device_handler::v1_0::CString;
using device_handler::v1_0::IHandlerContext;
using device_handler::v1_0::SModelInfo;
using vorn_handler::v1_0::CVornHandler;

// The periods of a device query.
struct SQueryTimes {
    std::chrono::milliseconds poll = std::chrono::milliseconds(20);    // between two looks at the threads
    std::chrono::milliseconds limit = std::chrono::milliseconds(4999); // a query that takes longer has failed
};

// The plug-in's device handler. Threads, ownership and outputs are those of CVornHandler.
class CPanasonicHandler : public CVornHandler {
public:
    // `context` must outlive the handler; the number of families is asked of it once, here.
    explicit CPanasonicHandler(IHandlerContext* context, SQueryTimes times = {});
    ~CPanasonicHandler() override;

    // The record of the first model, in the model map's order, whose number contains `model` (behind its
    // first dash, if it has one); null when there is none.
    const SModelInfo* getModelInfo(CString const& model) const override;

    // Identifies the device at `address`: one thread a supported family asks it for its model number and its
    // serial number, and the first family that matches wins. Returns the return code of the winner (1), with
    // `deviceId` set (the serial number cut to 32 characters); 16, with `deviceId` unchanged, when the
    // framework refuses the query or no family has matched after 5 seconds. Credentials that are not set mean
    // the handler's defaults. The threads that are left end by themselves.
    int queryVornDevice(std::string const& address, COptional<CDeviceId>& deviceId,
                        CAuthentication const& auth) override;

private:
    using CommParam = vorn_utility::v1_0::CommParam;

    void startQuery(std::size_t family, const std::string& address, const CAuthentication& credentials);
    boost::shared_ptr<CommParam> waitForIdentification() const;

    const SQueryTimes times_;
    const std::size_t familyCount_;
    // NOLINTBEGIN(readability-identifier-naming): as the interface names them
    std::unique_ptr<boost::shared_ptr<CommParam>[]> queryParams; // one a family, of the latest query
    std::unique_ptr<pthread_t[]> queryThreads;                   // likewise; detached
    // NOLINTEND(readability-identifier-naming)
};

} // namespace corvane::panasonic_handler
