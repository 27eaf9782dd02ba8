#include "tools/vornhost/recording/frame_size.h"

#include <memory>

namespace corvane::vornhost {

std::string FrameSizeOf(GstPad* pad) {
    const std::unique_ptr<GstCaps, decltype(&gst_caps_unref)> caps(gst_pad_get_current_caps(pad),
                                                                   gst_caps_unref);
    int width = 0;
    int height = 0;
    const GstStructure* const format = caps ? gst_caps_get_structure(caps.get(), 0) : nullptr;
    const bool isKnown = format && gst_structure_get_int(format, "width", &width) &&
                         gst_structure_get_int(format, "height", &height);
    return isKnown ? std::to_string(width) + "x" + std::to_string(height) : "";
}

} // namespace corvane::vornhost
