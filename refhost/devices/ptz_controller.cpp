#include "host/ptz_controller.h"

#include "host/assert.h"
#include "operations/operations.h"

#include <boost/make_shared.hpp>

#include <atomic>
#include <iostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace corvane::vorn_ptz_controller::v1_0 {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using vorn_utility::v1_0::CAsyncCmdDetails;

CError NotSupported(const char* text) {
    return {RtnCode::NotSupported, Origin::General, text};
}

} // namespace

struct CBasePtzController::SBase {
    SBase(const boost::shared_ptr<IDeviceContext>& deviceContext, int input,
          const boost::shared_ptr<CVornCamera>& itsCamera)
        : context(deviceContext), index(input), camera(itsCamera) {}

    const boost::shared_ptr<IDeviceContext> context;
    const int index;
    const boost::shared_ptr<CVornCamera> camera;
    const boost::shared_ptr<CThreadAsyncQueue> queue = boost::make_shared<CThreadAsyncQueue>();
    std::mutex mutex; // the derived controller's
    std::mutex
        credentialsMutex; // guards credentials; apart, so that a command is given at once whatever runs
    CAuthentication credentials;
    std::atomic<bool> isRunning{true};
    std::mutex threadMutex; // guards thread
    std::thread thread;
};

CBasePtzController::CBasePtzController(boost::shared_ptr<IDeviceContext>& context, int index,
                                       char const* /*address*/, boost::shared_ptr<CVornCamera>& camera,
                                       unsigned /*flags*/)
    : base_(std::make_unique<SBase>(context, index, camera)) {
    device_handler::v1_0::HostAssert(context && camera, "ptzController", __LINE__);
}

CBasePtzController::~CBasePtzController() {
    stop();
}

const boost::shared_ptr<IDeviceContext>& CBasePtzController::deviceContext() const {
    return base_->context;
}
bool CBasePtzController::isRunning() const {
    return base_->isRunning;
}
int CBasePtzController::index() const {
    return base_->index;
}
CVornCamera& CBasePtzController::camera() const {
    return *base_->camera;
}
CThreadAsyncQueue& CBasePtzController::queue() const {
    return *base_->queue;
}
std::mutex& CBasePtzController::mutex() {
    return base_->mutex;
}

void CBasePtzController::startWorker(boost::function<void()> loop) {
    const std::lock_guard<std::mutex> guard(base_->threadMutex);
    if (base_->isRunning && !base_->thread.joinable())
        base_->thread = std::thread(std::move(loop));
}

void CBasePtzController::stop() {
    const std::lock_guard<std::mutex> guard(base_->threadMutex);
    base_->isRunning = false;
    queue().notify();
    if (base_->thread.joinable())
        base_->thread.join();
    queue().close();
}

CAuthentication CBasePtzController::refreshCredentials() {
    CAuthentication current = base_->context->getAuthentication();
    const std::lock_guard<std::mutex> guard(base_->credentialsMutex);
    base_->credentials = current;
    return current;
}

CPtzController::~CPtzController() {
    stop(); // while the worker still has its loop
}

void CPtzController::start() {
    startWorker([this] { ThreadRun(); });
}

void CPtzController::ThreadRun() {
    while (isRunning()) {
        queue().wait();
        runCommand(queue().take());
    }
}

void CPtzController::runCommand(const boost::shared_ptr<CAsyncCmdDetails>& details) {
    if (!details || !details->begin())
        return;
    try {
        details->command();
    } catch (...) {
        try {
            Call(details->callback,
                 CError(RtnCode::OperationFailed, Origin::General, "Operation resulted in a problem"));
        } catch (...) {
            std::cerr << "callErrOperation: unknown exception" << std::endl;
        }
    }
}

CAsyncOp CPtzController::submit(Operation operation, const CCallback& callback) {
    refreshCredentials();
    const auto command = [this, operation = std::move(operation), callback] {
        std::vector<CString> values;
        const CError error = operation(camera(), values);
        Call(callback, error, values);
    };
    return queue().push_back(boost::make_shared<CAsyncCmdDetails>(command, callback));
}

#define VORN_PTZ_COMMAND(NAME, PARAMETERS, CALL)                                                             \
    CAsyncOp CPtzController::NAME PARAMETERS {                                                               \
        return submit([=, index = index()](CVornCamera& camera,                                              \
                                           [[maybe_unused]] auto& values) { return camera.CALL; },           \
                      callback);                                                                             \
    }
#define VORN_PTZ_UNKNOWN(NAME, TEXT)                                                                         \
    CAsyncOp CPtzController::NAME(const CCallback& callback) {                                               \
        return submit([](CVornCamera&, auto&) { return NotSupported(TEXT); }, callback);                     \
    }
#include "host/ptz_commands.def"

CAsyncOp CPtzController::getPTZPos(const CCallback& callback) {
    return submit(
        [index = index()](CVornCamera& camera, std::vector<CString>& values) {
            return camera.getPtzPosition(index, values);
        },
        callback);
}

CAsyncOp CPtzController::moveAt(int pan, int tilt, int zoom, int focus, int iris, const CCallback& callback) {
    return submit(
        [=, credentials = refreshCredentials()](CVornCamera& camera, auto&) mutable {
            CError error = CError::Success();
            const CCallback noted(
                [&error](const CError& outcome, const std::vector<CString>&) { error = outcome; });
            moveAtSync(pan, tilt, zoom, noted, credentials);
            if (!error)
                error = camera.setContinuousPtzFocus(index(), focus);
            if (!error && iris != 0)
                error = camera.setContinuousPtzIris(index(), iris);
            return error;
        },
        callback);
}

void CPtzController::moveAtSync(int pan, int tilt, int zoom, const CCallback& callback, CAuthentication&) {
    Call(callback, camera().setContinuousPtz(index(), pan, tilt, zoom));
}

void CPtzController::registerOperations(COperationRegistry& registry) {
    using C = CPtzController;
#define VORN_PTZ_OWN(NAME, PARAMETERS)                                                                       \
    registry.add("controller." #NAME, this, static_cast<CAsyncOp(C::*) PARAMETERS>(&C::NAME), #PARAMETERS);
#include "host/ptz_commands.def"
    registry.add("controller.getPTZPos", this, &C::getPTZPos, {});
}

} // namespace corvane::vorn_ptz_controller::v1_0
