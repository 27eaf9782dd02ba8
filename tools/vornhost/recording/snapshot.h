#pragma once

#include "site/base/names.h"
#include "tools/vornhost/names.h"
#include "tools/vornhost/recording/output_file.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

namespace corvane::vornhost {

// A picture of a stream as a JPEG.
struct SPicture {
    std::string jpeg;
    std::string resolution; // "WIDTHxHEIGHT"
};

// One picture of a stream: the camera's own JPEG, or a decoded key frame made into one. Belongs to one
// thread, save interrupt().
class CSnapshot {
public:
    // `controller` is kept, must outlive this and has not been started.
    CSnapshot(IStreamController& controller, VideoCodec codec) : controller_(controller), codec_(codec) {}
    // Stops the stream.
    ~CSnapshot();
    CSnapshot(const CSnapshot&) = delete;
    CSnapshot& operator=(const CSnapshot&) = delete;

    // Waits for the first whole picture, `silence` at most. A success without one when it was interrupted.
    CError take(std::chrono::milliseconds silence, std::optional<SPicture>& picture);

    // Ends take(). Callable from any thread.
    void interrupt();

private:
    static GstPadProbeReturn frameComes(GstPad* pad, GstPadProbeInfo* info, gpointer snapshot);
    static GstPadProbeReturn pictureComes(GstPad* pad, GstPadProbeInfo* info, gpointer snapshot);
    CError link();
    void end();

    IStreamController& controller_;
    const VideoCodec codec_;
    bool hasBegun_ = false; // a key frame has come; belongs to the thread that brings the frames

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::optional<SPicture> picture_;
    bool isEnded_ = false; // interrupted, or the stream has ended
};

} // namespace corvane::vornhost
