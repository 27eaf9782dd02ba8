#pragma once

#include "model/camera.h"

#include <gst/gst.h>

namespace camsim {

// Makes of every frame that leaves `source` (I420, at its pad "src") what the camera sees with this video
// input, from 0. `balance` is the videobalance behind it, in the same bin. The camera must outlive both.
void DevelopPictures(GstElement* source, GstElement* balance, const CCamera& camera, int input);

} // namespace camsim
