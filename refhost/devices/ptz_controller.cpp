#include "host/ptz_controller.h"

#include "host/assert.h"
#include "operations/operations.h"
#include "refhost/devices/camera_errors.h"

#include <boost/make_shared.hpp>

#include <iostream>
#include <utility>

namespace corvane::vorn_ptz_controller::v1_0 {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using refhost::NotOfDevice;
using vorn_utility::v1_0::CAsyncCmdDetails;

} // namespace

CBasePtzController::CBasePtzController(boost::shared_ptr<IDeviceContext>& context, int index,
                                       char const* /*address*/, boost::shared_ptr<CVornCamera>& camera,
                                       unsigned /*flags*/)
    : context_(context), index_(index), camera_(camera), queue_(boost::make_shared<CThreadAsyncQueue>()) {
    device_handler::v1_0::HostAssert(context_ && camera_, "ptzController", __LINE__);
}

CBasePtzController::~CBasePtzController() {
    stop();
}

void CBasePtzController::startWorker(boost::function<void()> loop) {
    const std::lock_guard<std::mutex> guard(threadMutex_);
    if (isRunning_ && !thread_.joinable())
        thread_ = std::thread(std::move(loop));
}

void CBasePtzController::stop() {
    const std::lock_guard<std::mutex> guard(threadMutex_);
    isRunning_ = false;
    queue_->notify();
    if (thread_.joinable())
        thread_.join();
    queue_->close();
}

CAuthentication CBasePtzController::refreshCredentials() {
    CAuthentication current = context_->getAuthentication();
    const std::lock_guard<std::mutex> guard(credentialsMutex_);
    credentials_ = current;
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
        RunCommand(queue().take());
    }
}

void CPtzController::RunCommand(const boost::shared_ptr<CAsyncCmdDetails>& details) {
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

CAsyncOp CPtzController::queryMovement(const CCallback& callback) {
    return submit(
        [index = index()](CVornCamera& camera, std::vector<CString>& values) {
            return camera.getPtzProperties(index, values);
        },
        callback);
}

CAsyncOp CPtzController::moveTo(int pan, int tilt, int zoom, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.setAbsolutePtz(index, pan, tilt, zoom); },
                  callback);
}

CAsyncOp CPtzController::moveBy(int pan, int tilt, int zoom, int iris, int focus, const CCallback& callback) {
    return submit(
        [=, index = index()](CVornCamera& camera, auto&) {
            return camera.setRelativePtz(index, pan, tilt, zoom, iris, focus);
        },
        callback);
}

CAsyncOp CPtzController::moveAt(int pan, int tilt, int zoom, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.setContinuousPtz(index, pan, tilt, zoom); },
                  callback);
}

CAsyncOp CPtzController::setPreset(int preset, const CCallback& callback) {
    return submit(
        [=, index = index()](CVornCamera& camera, auto&) { return camera.setPtzPresetPos(index, preset); },
        callback);
}

CAsyncOp CPtzController::clearPreset(int preset, const CCallback& callback) {
    return submit(
        [=, index = index()](CVornCamera& camera, auto&) { return camera.clearPtzPresetPos(index, preset); },
        callback);
}

CAsyncOp CPtzController::callPreset(int preset, const CCallback& callback) {
    return submit(
        [=, index = index()](CVornCamera& camera, auto&) { return camera.callPtzPresetPos(index, preset); },
        callback);
}

CAsyncOp CPtzController::startPatternRecord(int pattern, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.startPtzPatternRecord(index, pattern); },
                  callback);
}

CAsyncOp CPtzController::stopPatternRecord(int pattern, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.stopPtzPatternRecord(index, pattern); },
                  callback);
}

CAsyncOp CPtzController::selectPattern(int pattern, const CCallback& callback) {
    return submit(
        [=, index = index()](CVornCamera& camera, auto&) { return camera.selectPtzPattern(index, pattern); },
        callback);
}

CAsyncOp CPtzController::clearPatternRecord(int pattern, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.clearPtzPatternRecord(index, pattern); },
                  callback);
}

CAsyncOp CPtzController::cancelPatternRecord(int pattern, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.cancelPtzPatternRecord(index, pattern); },
                  callback);
}

CAsyncOp CPtzController::openMenu(const CCallback& callback) {
    return submit([](CVornCamera&, auto&) { return NotOfDevice("menu"); }, callback);
}

CAsyncOp CPtzController::closeMenu(const CCallback& callback) {
    return submit([](CVornCamera&, auto&) { return NotOfDevice("menu"); }, callback);
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

CAsyncOp CPtzController::LensRefocus(const CCallback& callback) {
    return submit([](CVornCamera&, auto&) { return NotOfDevice("refocus command"); }, callback);
}

CAsyncOp CPtzController::moveFocusAt(int speed, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.setContinuousPtzFocus(index, speed); },
                  callback);
}

CAsyncOp CPtzController::moveIrisAt(int speed, const CCallback& callback) {
    return submit([=, index = index()](CVornCamera& camera,
                                       auto&) { return camera.setContinuousPtzIris(index, speed); },
                  callback);
}

CAsyncOp CPtzController::getPTZPos(const CCallback& callback) {
    return submit(
        [index = index()](CVornCamera& camera, std::vector<CString>& values) {
            return camera.getPtzPosition(index, values);
        },
        callback);
}

void CPtzController::moveAtSync(int pan, int tilt, int zoom, const CCallback& callback, CAuthentication&) {
    Call(callback, camera().setContinuousPtz(index(), pan, tilt, zoom));
}

void CPtzController::registerOperations(COperationRegistry& registry) {
    using C = CPtzController;
    const auto add = [&](const char* name, auto member, std::initializer_list<const char*> parameters) {
        registry.add(std::string("controller.") + name, this, member, parameters);
    };
    add("queryMovement", &C::queryMovement, {});
    add("moveTo", &C::moveTo, {"pan", "tilt", "zoom"});
    add("moveBy", &C::moveBy, {"pan", "tilt", "zoom", "iris", "focus"});
    add("moveAt", static_cast<CAsyncOp (C::*)(int, int, int, const CCallback&)>(&C::moveAt),
        {"pan", "tilt", "zoom"});
    add("moveAt", static_cast<CAsyncOp (C::*)(int, int, int, int, int, const CCallback&)>(&C::moveAt),
        {"pan", "tilt", "zoom", "focus", "iris"});
    add("moveFocusAt", &C::moveFocusAt, {"speed"});
    add("moveIrisAt", &C::moveIrisAt, {"speed"});
    add("setPreset", &C::setPreset, {"preset"});
    add("clearPreset", &C::clearPreset, {"preset"});
    add("callPreset", &C::callPreset, {"preset"});
    add("startPatternRecord", &C::startPatternRecord, {"pattern"});
    add("stopPatternRecord", &C::stopPatternRecord, {"pattern"});
    add("selectPattern", &C::selectPattern, {"pattern"});
    add("clearPatternRecord", &C::clearPatternRecord, {"pattern"});
    add("cancelPatternRecord", &C::cancelPatternRecord, {"pattern"});
    add("openMenu", &C::openMenu, {});
    add("closeMenu", &C::closeMenu, {});
    add("LensRefocus", &C::LensRefocus, {});
    add("getPTZPos", &C::getPTZPos, {});
}

} // namespace corvane::vorn_ptz_controller::v1_0
