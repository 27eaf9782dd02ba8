#include "tests/torture/camera_life.h"

#include "host/event_stream_controller.h"
#include "host/handler.h"
#include "host/ptz_controller.h"
#include "refhost/base/plugin_library.h"
#include "refhost/devices/contexts.h"
#include "refhost/models/model_list_file.h"

#include <boost/make_shared.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <utility>

namespace corvane::torture {
namespace {

using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CCallback;
using device_handler::v1_0::CDeviceId;
using device_handler::v1_0::CError;
using device_handler::v1_0::COptional;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SStreamEvent;
using device_handler::v1_0::VideoCodec;
using vorn_camera_base::v1_0::CVAPI_VALUE_TYPE;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_event_stream_controller::v1_0::CEventStreamController;

constexpr const char* Model = "D850";
constexpr std::chrono::seconds Patience{30};

// Waits for calls, on whatever threads.
class CCalls {
public:
    void note() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++count_;
        changed_.notify_all();
    }
    bool waitFor(int count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, Patience, [&] { return count_ >= count; });
    }
    int count() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return count_;
    }

private:
    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    int count_ = 0;
};

class CLife {
public:
    explicit CLife(std::string address) : address_(std::move(address)) {}

    SLife run(const std::function<void()>& onListRead) {
        models_ = refhost::LoadModelList(MODELS_FILE);
        onListRead();
        step("load", [this] { load(); });
        if (plugin_) {
            step("find", [this] { find(); });
            step("add", [this] { add(); });
        }
        if (camera_) {
            step("ask", [this] { ask(); });
            step("move", [this] { move(); });
            step("watch", [this] { watch(); });
        }
        camera_.reset();
        context_.reset();
        return std::move(life_);
    }

private:
    void step(const char* name, const std::function<void()>& act) {
        try {
            act();
        } catch (const std::exception& failure) {
            life_.failures.push_back(std::string(name) + ": " + failure.what());
        }
    }
    void take(const CError& error) {
        if (error)
            life_.failures.push_back(error.getText());
    }
    void expect(bool holds, const char* failure) {
        if (!holds)
            life_.failures.emplace_back(failure);
    }
    void promise(bool holds, const char* broken) {
        if (!holds)
            life_.broken.emplace_back(broken);
    }

    void load() {
        plugin_ = std::make_unique<refhost::CPluginLibrary>(std::getenv("VORN_BIN") +
                                                            std::string("/../lib/libpanasonic_handler.so"));
    }

    void find() {
        refhost::CHandlerContext context(models_);
        const auto handler = plugin_->createHandler(context);
        COptional<CDeviceId> device;
        take(handler->queryDevice(address_, device, CAuthentication()));
    }

    void add() {
        const auto& family = models_->getFamilies().front();
        context_ = boost::make_shared<refhost::CDeviceContext>(
            address_, CAuthentication{family.user, family.password}, refhost::CDeviceDb::open(""));
        auto camera = plugin_->createCamera(context_, address_, models_, Model);
        if (const CError error = camera->initialize())
            return take(error);
        camera_ = std::move(camera);
    }

    void ask() {
        std::vector<CString> title;
        take(camera_->getCameraName(0, title));
        expect(!title.empty() && !title.front().str().empty(), "no title");
        CString count;
        take(camera_->getVideoCodecCount(0, count));
        std::vector<CString> range;
        take(camera_->getVideoCodecResolutionList(0, VideoCodec::H264, range));
        CVAPI_VALUE_TYPE type{};
        take(camera_->getVideoCodecFrameRateRange(0, 0, VideoCodec::H264, range, type));
        std::vector<CString> position;
        take(camera_->getPtzPosition(0, position));
        take(camera_->setPtzPosition(0, "pan=100&tilt=200"));
    }

    void move() {
        CCalls ends;
        int given = 0;
        const auto controller = plugin_->createPtzController(context_, 0, address_, camera_);
        const auto give = [&](auto&& command) {
            try {
                command(CCallback([&](const CError& error, const std::vector<CString>&) {
                    ends.note();
                    expectOnWorker(error);
                }));
                ++given;
            } catch (const std::bad_alloc&) {
                life_.failures.emplace_back("a command could not be given");
            }
        };
        give([&](const CCallback& end) { controller->moveAt(10, 0, 0, end); });
        give([&](const CCallback& end) { controller->getPTZPos(end); });
        give([&](const CCallback& end) { controller->moveAt(0, 0, 0, end); });
        promise(ends.waitFor(given), "a PTZ command never ended");
        controller->stop();
        promise(ends.count() <= given, "a PTZ command ended twice, or was not given and ended");
        const std::lock_guard<std::mutex> lock(workerMutex_);
        for (const CError& error : std::exchange(workerErrors_, {}))
            take(error);
    }
    void expectOnWorker(const CError& error) {
        const std::lock_guard<std::mutex> lock(workerMutex_);
        workerErrors_.push_back(error);
    }

    void watch() {
        IStreamController* made = nullptr;
        if (const CError error = camera_->createEventStreamPipeline(made, 0))
            return take(error);
        const std::unique_ptr<IStreamController> stream(made);
        CCalls calls; // the first event, or the end
        dynamic_cast<CEventStreamController&>(*stream).setEventObserver([&](const SStreamEvent& event) {
            event.kind != SStreamEvent::Kind::Ping ? calls.note() : void();
        });
        stream->setEndObserver([&] { calls.note(); });
        if (const CError error = stream->start())
            return take(error);
        promise(calls.waitFor(1), "neither an event came nor the stream's end");
        if (const auto end = stream->waitForEnd(std::chrono::milliseconds::zero()))
            life_.failures.push_back("the stream ended: " + end->error.getText());
        stream->stop();
    }

    const std::string address_;
    std::unique_ptr<refhost::CPluginLibrary> plugin_;
    boost::shared_ptr<CVornModelList> models_;
    boost::shared_ptr<IDeviceContext> context_;
    boost::shared_ptr<CVornCamera> camera_;
    std::mutex workerMutex_; // guards workerErrors_
    std::vector<CError> workerErrors_;
    SLife life_;
};

} // namespace

SLife LiveWithCamera(const std::string& address, const std::function<void()>& onListRead) {
    return CLife(address).run(onListRead);
}

} // namespace corvane::torture
