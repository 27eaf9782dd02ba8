#include "picture/development.h"

#include "picture/picture.h"

#include <optional>

namespace camsim {
namespace {

// The pictures of one stream on their way from the source.
struct SDevelopment {
    CPicture picture;
    std::optional<GstVideoInfo> form; // of the frames, once one has come
};

GstPadProbeReturn Develop(GstPad* pad, GstPadProbeInfo* info, gpointer user) {
    auto& development = *static_cast<SDevelopment*>(user);
    if (!development.form) {
        GstCaps* caps = gst_pad_get_current_caps(pad);
        development.form.emplace();
        gst_video_info_from_caps(&*development.form, caps);
        gst_caps_unref(caps);
    }
    GstBuffer* buffer = gst_buffer_make_writable(gst_pad_probe_info_get_buffer(info));
    GST_PAD_PROBE_INFO_DATA(info) = buffer;
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &*development.form, buffer, GST_MAP_READWRITE)) {
        development.picture.develop(frame);
        gst_video_frame_unmap(&frame);
    }
    return GST_PAD_PROBE_OK;
}

} // namespace

void DevelopPictures(GstElement* source, GstElement* balance, const CCamera& camera, int input) {
    GstPad* pad = gst_element_get_static_pad(source, "src");
    // The bin holds the balance as long as the pad that is probed.
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, Develop,
                      new SDevelopment{CPicture(camera, input, balance), std::nullopt},
                      [](gpointer development) { delete static_cast<SDevelopment*>(development); });
    gst_object_unref(pad);
}

} // namespace camsim
