#pragma once

#include "model/camera.h"
#include "model/picture_levels.h"

#include <gst/video/video.h>
#include <vector>

namespace camsim {

// What a camera's lens and sensor make of the pictures of one stream: where its head looks, and how its
// settings and its focus let them look. Used by one thread.
class CPicture {
public:
    // `input`: the video input, from 0; each sees another part. `balance`: the stream's videobalance. It and
    // the camera must outlive this object.
    CPicture(const CCamera& camera, int input, GstElement* balance)
        : camera_(camera), input_(input), balance_(balance) {}

    // Draws what the camera sees at this moment into a frame of three planes, as in I420.
    void develop(GstVideoFrame& frame);

private:
    void drawView(GstVideoFrame& frame, const HeadPlace& place);
    void tint(GstVideoFrame& frame);
    void sharpen(GstVideoFrame& frame, const HeadPlace& place);
    void setBalance();
    double level(const char* key, const SPictureLevel& range) const;

    const CCamera& camera_;
    const int input_;
    GstElement* const balance_;
    std::vector<int> columns_; // kept for its memory
    std::vector<uint8_t> row_; // kept for its memory
    double brightness_ = 0;    // as the balance has it
    double saturation_ = 1;    // as the balance has it
};

} // namespace camsim
