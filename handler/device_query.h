#pragma once

#include "host/error.h"
#include "host/log.h"
#include "host/model_list.h"

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <mutex>
#include <string>

namespace corvane::vorn_utility::v1_0 {

// One query thread's record: what it needs, and what it found. The thread and the handler share it, so a
// thread that ends long after its query writes into memory that still exists.
struct CommParam {
    device_handler::v1_0::SQueryDevice query;
    boost::shared_ptr<device_handler::v1_0::CVornModelList> modelList;
    std::string address;
    std::string user;
    std::string password;
    device_handler::v1_0::CLogFunction log;
    const device_handler::v1_0::SFamily* family = nullptr; // lives as long as modelList

    // Written by the thread; whoever sees `done` may read the others.
    std::atomic<bool> done{false}; // the device is identified
    int result = 0;                // return code of the outcome
    std::string modelNumber;       // as the camera reported it
    std::string serialNumber;

    std::mutex endMutex; // guards isOver, and is held while the thread stops the others because of its find
    bool isOver = false; // the query has returned: the next one's threads are not this thread's to stop
};

} // namespace corvane::vorn_utility::v1_0

namespace corvane::panasonic_handler {

// Tells all query threads of the process that one of them has identified its device.
extern std::atomic<bool> queryStopped;

// The body of a query thread: asks the device at the record's address for its model number and, when that
// belongs to the record's family, for its serial number. A failure is logged.
void PanasonicThreadQueryDevice(vorn_utility::v1_0::CommParam& record);

} // namespace corvane::panasonic_handler
