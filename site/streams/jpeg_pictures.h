#pragma once

#include "site/base/names.h"

#include <functional>
#include <string>

namespace corvane::site {

// Makes JPEGs of a stream's pictures: the camera's own, or decoded ones made into such.
class CJpegPictures {
public:
    // Called on a thread of the stream; `pad` is where the picture's format stands. Must not end the stream.
    using Take = std::function<void(std::string jpeg, GstPad* pad)>;

    // `controller` is kept, must have been stopped before this ends, and has not been started.
    CJpegPictures(IStreamController& controller, VideoCodec codec, Take take)
        : controller_(controller), codec_(codec), take_(std::move(take)) {}
    CJpegPictures(const CJpegPictures&) = delete;
    CJpegPictures& operator=(const CJpegPictures&) = delete;

    // Puts what makes them behind the stream; once, before its start.
    CError link();

private:
    static GstPadProbeReturn frameComes(GstPad* pad, GstPadProbeInfo* info, gpointer pictures);
    static GstPadProbeReturn pictureComes(GstPad* pad, GstPadProbeInfo* info, gpointer pictures);

    IStreamController& controller_;
    const VideoCodec codec_;
    const Take take_;
    bool hasBegun_ = false; // a key frame has come; belongs to the thread that brings the frames
};

} // namespace corvane::site
