#include "host/stream_controller.h"

#include <future>
#include <system_error>
#include <thread>
#include <vector>

namespace corvane::vorn_stream_controller::v1_0 {
namespace {

using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;

CError failureWithText(GstMessage* message, Origin origin) {
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    const std::string text = error->message;
    g_error_free(error);
    return {RtnCode::OperationFailed, origin, text};
}

// GStreamer waits for ever for a thread that it could not make. More than any stream needs, since others take
// some at the same time.
constexpr int MostThreads = 12;

CError threadsToBeHad() {
    std::promise<void> allThere;
    const std::shared_future<void> mayEnd = allThere.get_future().share();
    std::vector<std::thread> threads;
    CError result = CError::Success();
    try {
        while (threads.size() < MostThreads)
            threads.emplace_back([mayEnd] { mayEnd.wait(); });
    } catch (const std::system_error& error) {
        result = {RtnCode::OperationFailed, Origin::General,
                  device_handler::v1_0::NoThreadText + std::string(": ") + error.code().message()};
    }
    allThere.set_value();
    for (std::thread& thread : threads)
        thread.join();
    return result;
}

// Whether an element that the pad's element holds, or that one itself, has posted the message.
bool isOfSource(GstMessage* message, GstPad* pad) {
    GstObject* const source = gst_object_get_parent(GST_OBJECT(pad));
    const bool inside = source && gst_object_has_as_ancestor(GST_MESSAGE_SRC(message), source);
    if (source)
        gst_object_unref(source);
    return inside;
}

} // namespace

CSimpleStreamController::CSimpleStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad)
    : pipeline_(GST_ELEMENT(gst_object_ref_sink(pipeline))),
      bus_(GST_BUS(gst_object_ref(bus))),
      pad_(GST_PAD(gst_object_ref(pad))) {}

CSimpleStreamController::~CSimpleStreamController() {
    end({SStreamEnd::Cause::Stopped, CError::Success()});
    tearDown();
    gst_object_unref(pad_);
    gst_object_unref(bus_);
    gst_object_unref(pipeline_);
}

CError CSimpleStreamController::start() {
    const std::lock_guard<std::mutex> lock(stateMutex_);
    if (!runnable_)
        return {RtnCode::OperationFailed, Origin::General, "a stream can be started only once"};
    runnable_ = false;
    if (CError error = threadsToBeHad())
        return error;
    if (CError error = prepare())
        return error;
    gst_bus_set_sync_handler(bus_, takeMessage, this, nullptr);
    if (gst_element_set_state(pipeline_, GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE)
        return CError::Success();
    end({SStreamEnd::Cause::Failure,
         CError(RtnCode::OperationFailed, Origin::General, "the stream's pipeline could not be started")});
    return waitForEnd(std::chrono::milliseconds::zero())->error;
}

void CSimpleStreamController::finish() {
    if (GstPad* const consumer = gst_pad_get_peer(pad_)) {
        gst_pad_send_event(consumer, gst_event_new_eos());
        gst_object_unref(consumer);
    }
}

void CSimpleStreamController::stop() {
    end({SStreamEnd::Cause::Stopped, CError::Success()});
    stopping();
    tearDown();
}

void CSimpleStreamController::tearDown() {
    const std::lock_guard<std::mutex> lock(stateMutex_);
    runnable_ = false;
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_bus_set_sync_handler(bus_, nullptr, nullptr, nullptr);
}

void CSimpleStreamController::setEndObserver(boost::function<void()> observer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    observer_ = std::move(observer);
}

COptional<SStreamEnd> CSimpleStreamController::waitForEnd(std::chrono::milliseconds timeOut) {
    std::unique_lock<std::mutex> lock(mutex_);
    ended_.wait_for(lock, timeOut, [this] { return end_.has_value(); });
    return end_;
}

CError CSimpleStreamController::prepare() {
    return CError::Success();
}

void CSimpleStreamController::messagePosted(GstMessage*) {}

CError CSimpleStreamController::describeFailure(GstMessage* message) {
    return failureWithText(message, Origin::Device);
}

void CSimpleStreamController::stopping() {}

void CSimpleStreamController::end(const SStreamEnd& how) {
    boost::function<void()> observer;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (end_)
            return;
        end_ = how;
        observer = observer_;
        ended_.notify_all();
    }
    if (observer)
        observer();
}

bool CSimpleStreamController::hasEnded() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return end_.has_value();
}

GstBusSyncReply CSimpleStreamController::takeMessage(GstBus*, GstMessage* message, gpointer controller) {
    static_cast<CSimpleStreamController*>(controller)->handleMessage(message);
    gst_message_unref(message);
    return GST_BUS_DROP;
}

void CSimpleStreamController::handleMessage(GstMessage* message) {
    const bool ended = hasEnded();
    messagePosted(message);
    if (ended)
        return;
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS)
        end({SStreamEnd::Cause::EndOfStream, CError::Success()});
    else if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
        end({SStreamEnd::Cause::Failure, isOfSource(message, pad_)
                                             ? describeFailure(message)
                                             : failureWithText(message, Origin::General)});
}

} // namespace corvane::vorn_stream_controller::v1_0
