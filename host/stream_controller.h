#pragma once

#include "host/api.h"
#include "host/error.h"
#include "host/text.h"

#include <boost/function.hpp>
#include <gst/gst.h>

#include <chrono>
#include <memory>

namespace corvane::device_handler::v1_0 {

// How a stream ended.
struct SStreamEnd {
    enum class Cause {
        EndOfStream, // the source ended it, or finish() did
        Failure,
        Stopped, // by stop()
    };

    Cause cause;
    CError error; // why, of a failure; success otherwise
};

// What the failure of a start begins with when this machine, or its limits for the process, have no thread
// left that the pipeline needs: (OperationFailed, General).
inline constexpr const char* NoThreadText = "no thread is to be had for the stream";

// What the failure begins with when GStreamer has no such element on this machine, or cannot load it: the
// element's name follows. (OperationFailed, General).
inline constexpr const char* NoElementText = "GStreamer lacks an element: ";

// A pipeline that receives one stream of a device. It is built when its owner gets it and runs once: start(),
// then stop(). Before start() the owner adds elements of its own to the pipeline and links them behind the
// source pad; without any the stream fails when its first data comes.
//
// Every operation may be called from any thread, save that stop() and the destructor must not be called on a
// thread of the pipeline (from a pad probe, an element's signal or the end observer).
class VORN_HOST_API IStreamController {
public:
    IStreamController() = default;
    // Stops the stream.
    virtual ~IStreamController() = default;
    IStreamController(const IStreamController&) = delete;
    IStreamController& operator=(const IStreamController&) = delete;

    // Borrowed: both live as long as the controller.
    virtual GstElement* getPipeline() const = 0;
    virtual GstPad* getSourcePad() const = 0;

    // Sets the stream going and returns at once; a device that cannot be reached ends the stream later. Fails
    // with (OperationFailed, General) when it has been started or stopped before, and as the stream's end
    // does when an element refuses at once.
    virtual CError start() = 0;

    // Ends the stream behind the data that has come: what is linked to the source pad gets an end-of-stream,
    // and the end follows when every sink has taken it. Waits while a buffer is on its way. Without
    // anything linked it does nothing.
    virtual void finish() = 0;

    // Tears the stream down at once, whatever it is doing; when this returns, no thread of the pipeline runs
    // any more. May be repeated.
    virtual void stop() = 0;

    // `observer` is called once when the stream has ended, on the thread that ended it; it must return soon.
    // Must be set before start().
    virtual void setEndObserver(boost::function<void()> observer) = 0;

    // Waits until the stream has ended, `timeOut` (from 0) at most; nothing when it has not. Later causes do
    // not change the first.
    virtual COptional<SStreamEnd> waitForEnd(std::chrono::milliseconds timeOut) = 0;
};

} // namespace corvane::device_handler::v1_0

namespace corvane::vorn_stream_controller::v1_0 {

using device_handler::v1_0::CError;
using device_handler::v1_0::COptional;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SStreamEnd;

// The stream controller over a pipeline that is complete but for what its owner links behind the pad. It
// hears the bus where messages are posted, so it needs neither a main loop nor a thread, and takes every
// message off the bus.
class VORN_HOST_API CSimpleStreamController : public IStreamController {
public:
    // Takes a reference of its own to each: to the pipeline in the state NULL, to its bus, and to the pad of
    // an element in it where the stream comes out. A floating pipeline becomes the controller's alone.
    CSimpleStreamController(GstElement* pipeline, GstBus* bus, GstPad* pad);
    // A derived class that overrides a hook calls stop() in its own destructor, while the hook still exists.
    ~CSimpleStreamController() override;

    GstElement* getPipeline() const override;
    GstPad* getSourcePad() const override;
    CError start() override;
    void finish() override;
    void stop() override;
    void setEndObserver(boost::function<void()> observer) override;
    COptional<SStreamEnd> waitForEnd(std::chrono::milliseconds timeOut) override;

protected:
    // Hooks. Those of a message are called on the thread that posts it, one of the pipeline's; no lock is
    // held. `message` is borrowed.

    // What is still to be done to the pipeline before it plays; called once, by the start, which fails as
    // this does. The base has nothing to do.
    virtual CError prepare();
    // Sees each message before the controller does; the base does nothing.
    virtual void messagePosted(GstMessage* message);
    // What an error message of the source pad's element, or of one inside it, means to the host; the base
    // tells (OperationFailed, Device) with its text. Only the first failure is asked about. An error of what
    // the owner has linked behind the pad is (OperationFailed, General).
    virtual CError describeFailure(GstMessage* message);
    // The stream has been told to stop and a hook that waits for something must return; called before the
    // pipeline is torn down, on the thread that stops it. The base does nothing.
    virtual void stopping();

    // Ends the stream as the cause says, unless it has ended.
    void end(const SStreamEnd& how);

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

} // namespace corvane::vorn_stream_controller::v1_0
