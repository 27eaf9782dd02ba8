#include "handler/panasonic_handler.h"

#include "camera/model_number.h"

#include "host/assert.h"
#include "host/error.h"
#include "host/log.h"

#include <boost/make_shared.hpp>

#include <new>
#include <thread>

namespace corvane::panasonic_handler {

using device_handler::v1_0::HostAssert;
using device_handler::v1_0::RtnCode;
using panasonic_camera::SplitModelNumber;
using std::chrono::steady_clock;

namespace {

constexpr int NotIdentified = static_cast<int>(RtnCode::NotSet);
constexpr std::size_t SerialNumberLength = 32;
constexpr const char* AssertSource = "panasonicHandler";

// The thread's own reference to its record.
using Record = boost::shared_ptr<vorn_utility::v1_0::CommParam>;

void* RunQuery(void* argument) {
    const std::unique_ptr<Record> record(static_cast<Record*>(argument));
    try {
        PanasonicThreadQueryDevice(**record);
    } catch (const std::exception&) {
        (*record)->done = false; // short of memory: no device to the query, and not the end of the recorder
    }
    return nullptr;
}

// Starts a detached thread; false when the system has no more.
bool StartDetached(pthread_t& thread, const Record& record) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    auto argument = std::make_unique<Record>(record);
    const bool started = pthread_create(&thread, &attributes, RunQuery, argument.get()) == 0;
    if (started)
        static_cast<void>(argument.release());
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

CPanasonicHandler::CPanasonicHandler(IHandlerContext* handlerContext, SQueryTimes queryTimes)
    : CVornHandler(handlerContext), times_(queryTimes), familyCount_(handlerContext->getFamilyCount()) {
    queryParams.reset(new (std::nothrow) Record[familyCount_]);
    HostAssert(queryParams != nullptr, AssertSource, 250);
    queryThreads.reset(new (std::nothrow) pthread_t[familyCount_]);
    HostAssert(queryThreads != nullptr, AssertSource, 256);
}

CPanasonicHandler::~CPanasonicHandler() {
    // Here, while queryVornDevice is still this class's.
    CPanasonicHandler::shutdownHandler();
}

const SModelInfo* CPanasonicHandler::getModelInfo(CString const& model) const {
    const std::string number = SplitModelNumber(model.str()).number;
    for (const auto& [key, info] : modelList()->getModels())
        if (key.find(number) != std::string::npos)
            return &info;
    return nullptr;
}

int CPanasonicHandler::queryVornDevice(std::string const& address, COptional<CDeviceId>& deviceId,
                                       CAuthentication const& auth) {
    if (context().isQueryRefused(address, deviceId, auth))
        return NotIdentified;
    const CAuthentication credentials = auth.isSet() ? auth : defaultAuthentication();
    queryStopped = false;
    for (std::size_t family = 0; family < familyCount_; ++family)
        startQuery(family, address, credentials);

    const Record winner = waitForIdentification();
    for (std::size_t family = 0; family < familyCount_; ++family) {
        const std::lock_guard<std::mutex> lock(queryParams[family]->endMutex);
        queryParams[family]->isOver = true;
    }
    if (!winner)
        return NotIdentified;
    deviceId = CDeviceId(*winner->family, winner->serialNumber.substr(0, SerialNumberLength));
    return winner->result;
}

void CPanasonicHandler::startQuery(std::size_t family, const std::string& address,
                                   const CAuthentication& credentials) {
    // A new record each time: a thread of an earlier query may still hold the old one.
    const auto record = boost::make_shared<CommParam>();
    record->family = context().getFamily(family);
    record->query = modelList()->getQueryDevice(record->family->name);
    record->modelList = modelList();
    record->address = address;
    record->user = credentials.getUsername();
    record->password = credentials.getPassword();
    record->log = context().getLog();
    queryParams[family] = record;
    if (!StartDetached(queryThreads[family], record))
        record->log(device_handler::v1_0::LogFailure, "%s:: device IP: %s, no thread for the query", __func__,
                    address.c_str());
}

boost::shared_ptr<vorn_utility::v1_0::CommParam> CPanasonicHandler::waitForIdentification() const {
    const steady_clock::time_point start = steady_clock::now();
    for (;;) {
        for (std::size_t family = 0; family < familyCount_; ++family)
            if (queryParams[family]->done)
                return queryParams[family];
        if (steady_clock::now() - start > times_.limit)
            return {};
        std::this_thread::sleep_for(times_.poll); // the threads only set their flags, and wake nobody
    }
}

} // namespace corvane::panasonic_handler
