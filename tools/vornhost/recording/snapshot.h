#pragma once

#include "site/streams/jpeg_pictures.h"
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
    CSnapshot(IStreamController& controller, VideoCodec codec);
    // Stops the stream.
    ~CSnapshot();
    CSnapshot(const CSnapshot&) = delete;
    CSnapshot& operator=(const CSnapshot&) = delete;

    // Waits for the first whole picture, `silence` at most. A success without one when it was interrupted.
    CError take(std::chrono::milliseconds silence, std::optional<SPicture>& picture);

    // Ends take(). Callable from any thread.
    void interrupt();

private:
    void end();

    IStreamController& controller_;
    site::CJpegPictures pictures_;

    std::mutex mutex_; // guards what follows
    std::condition_variable changed_;
    std::optional<SPicture> picture_;
    bool isEnded_ = false; // interrupted, or the stream has ended
};

} // namespace corvane::vornhost
