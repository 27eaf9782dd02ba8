#include "host/stream_controller.h"

#include "host/gst_object.h"

#include <condition_variable>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace corvane::vorn_stream_controller::v1_0 {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using vorn_gst::v1_0::CGstRef;

CError FailureWithText(GstMessage* message, Origin origin) {
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    const std::string text = error->message;
    g_error_free(error);
    return {RtnCode::OperationFailed, origin, text};
}

// GStreamer waits for ever for a thread that it could not make. More than any stream needs, since others take
// some at the same time.
constexpr int MostThreads = 12;

// Threads that wait until they are let go, and joined, when this goes.
class CHeldThreads {
public:
    CHeldThreads() = default;
    ~CHeldThreads() {
        mayEnd_.set_value();
        for (std::thread& thread : threads_)
            thread.join();
    }
    CHeldThreads(const CHeldThreads&) = delete;
    CHeldThreads& operator=(const CHeldThreads&) = delete;

    void start(int count) {
        threads_.reserve(static_cast<std::size_t>(count));
        while (count-- > 0)
            threads_.emplace_back([end = end_] { end.wait(); });
    }

private:
    std::promise<void> mayEnd_;
    const std::shared_future<void> end_ = mayEnd_.get_future().share();
    std::vector<std::thread> threads_;
};

CError ThreadsToBeHad() {
    CHeldThreads threads;
    try {
        threads.start(MostThreads);
    } catch (const std::system_error& error) {
        return {RtnCode::OperationFailed, Origin::General,
                device_handler::v1_0::NoThreadText + std::string(": ") + error.code().message()};
    }
    return CError::Success();
}

// Whether an element that the pad's element holds, or that one itself, has posted the message.
bool IsOfSource(GstMessage* message, GstPad* pad) {
    GstObject* const source = gst_object_get_parent(GST_OBJECT(pad));
    const bool inside = source && gst_object_has_as_ancestor(GST_MESSAGE_SRC(message), source);
    if (source)
        gst_object_unref(source);
    return inside;
}

} // namespace

// The controller's state, and what hears its bus.
struct CSimpleStreamController::SBase {
    SBase(CSimpleStreamController& owner, GstElement* itsPipeline, GstBus* itsBus, GstPad* itsPad)
        : controller(owner),
          pipeline(GST_ELEMENT(gst_object_ref_sink(itsPipeline))),
          bus(GST_BUS(gst_object_ref(itsBus))),
          pad(GST_PAD(gst_object_ref(itsPad))) {}

    static GstBusSyncReply takeMessage(GstBus* bus, GstMessage* message, gpointer base);
    void handleMessage(GstMessage* message);
    void tearDown();
    bool hasEnded();

    CSimpleStreamController& controller;
    const CGstRef<GstElement> pipeline;
    const CGstRef<GstBus> bus;
    const CGstRef<GstPad> pad;

    std::mutex stateMutex;  // held while the pipeline changes its state; taken before mutex
    bool isRunnable = true; // until the first start() or stop(); guarded by stateMutex
    std::mutex mutex;       // guards what follows
    std::condition_variable ended;
    COptional<SStreamEnd> end;
    boost::function<void()> observer;
};

CSimpleStreamController::CSimpleStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad)
    : base_(std::make_unique<SBase>(*this, pipeline, bus, pad)) {}

CSimpleStreamController::~CSimpleStreamController() {
    end({SStreamEnd::Cause::Stopped, CError::Success()});
    base_->tearDown();
}

GstElement* CSimpleStreamController::getPipeline() const {
    return base_->pipeline.get();
}

GstPad* CSimpleStreamController::getSourcePad() const {
    return base_->pad.get();
}

CError CSimpleStreamController::start() {
    const std::lock_guard<std::mutex> lock(base_->stateMutex);
    if (!base_->isRunnable)
        return {RtnCode::OperationFailed, Origin::General, "a stream can be started only once"};
    base_->isRunnable = false;
    if (CError error = ThreadsToBeHad())
        return error;
    if (CError error = prepare())
        return error;
    gst_bus_set_sync_handler(base_->bus.get(), SBase::takeMessage, base_.get(), nullptr);
    if (gst_element_set_state(getPipeline(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE)
        return CError::Success();
    end({SStreamEnd::Cause::Failure,
         CError(RtnCode::OperationFailed, Origin::General, "the stream's pipeline could not be started")});
    return waitForEnd(std::chrono::milliseconds::zero())->error;
}

void CSimpleStreamController::finish() {
    if (GstPad* const consumer = gst_pad_get_peer(getSourcePad())) {
        gst_pad_send_event(consumer, gst_event_new_eos());
        gst_object_unref(consumer);
    }
}

void CSimpleStreamController::stop() {
    end({SStreamEnd::Cause::Stopped, CError::Success()});
    stopping();
    base_->tearDown();
}

void CSimpleStreamController::SBase::tearDown() {
    const std::lock_guard<std::mutex> lock(stateMutex);
    isRunnable = false;
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
}

void CSimpleStreamController::setEndObserver(boost::function<void()> observer) {
    const std::lock_guard<std::mutex> lock(base_->mutex);
    base_->observer = std::move(observer);
}

COptional<SStreamEnd> CSimpleStreamController::waitForEnd(std::chrono::milliseconds timeOut) {
    std::unique_lock<std::mutex> lock(base_->mutex);
    base_->ended.wait_for(lock, timeOut, [this] { return base_->end.has_value(); });
    return base_->end;
}

CError CSimpleStreamController::prepare() {
    return CError::Success();
}

void CSimpleStreamController::messagePosted(GstMessage*) {}

CError CSimpleStreamController::describeFailure(GstMessage* message) {
    return FailureWithText(message, Origin::Device);
}

void CSimpleStreamController::stopping() {}

void CSimpleStreamController::end(const SStreamEnd& how) {
    boost::function<void()> observer;
    {
        const std::lock_guard<std::mutex> lock(base_->mutex);
        if (base_->end)
            return;
        base_->end = how;
        observer = base_->observer;
        base_->ended.notify_all();
    }
    if (observer)
        observer();
}

bool CSimpleStreamController::SBase::hasEnded() {
    const std::lock_guard<std::mutex> lock(mutex);
    return end.has_value();
}

GstBusSyncReply CSimpleStreamController::SBase::takeMessage(GstBus*, GstMessage* message, gpointer base) {
    static_cast<SBase*>(base)->handleMessage(message);
    gst_message_unref(message);
    return GST_BUS_DROP;
}

void CSimpleStreamController::SBase::handleMessage(GstMessage* message) {
    const bool isOver = hasEnded();
    controller.messagePosted(message);
    if (isOver)
        return;
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS)
        controller.end({SStreamEnd::Cause::EndOfStream, CError::Success()});
    else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
        controller.end({SStreamEnd::Cause::Failure, IsOfSource(message, pad.get())
                                                        ? controller.describeFailure(message)
                                                        : FailureWithText(message, Origin::General)});
}

} // namespace corvane::vorn_stream_controller::v1_0
