#include "tools/vornhost/verbs/played_streams.h"

#include "host/gst_object.h"

#include <stdexcept>
#include <utility>

namespace corvane::vornhost {
namespace {

using device_handler::v1_0::CError;
using device_handler::v1_0::IStreamController;
using handler_impl::SVideoStreamId;
using vorn_camera_base::v1_0::CVornCamera;

void RequireSuccess(const CError& error) {
    if (error)
        throw std::runtime_error(error.getText());
}

void LinkSink(IStreamController& controller) {
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    if (!sink)
        throw std::runtime_error("GStreamer lacks fakesink");
    g_object_set(sink, "sync", FALSE, nullptr);
    gst_bin_add(GST_BIN(controller.getPipeline()), sink);
    const vorn_gst::v1_0::CGstRef<GstPad> input(gst_element_get_static_pad(sink, "sink"));
    gst_pad_link(controller.getSourcePad(), input.get()); // a fakesink takes everything
}

} // namespace

void CPlayedStreams::start(CVornCamera& camera, const SVideoStreamId& id) {
    if (streams_.count(id) != 0)
        throw std::runtime_error("the stream plays already");
    IStreamController* made = nullptr;
    RequireSuccess(camera.createVideoStreamPipeline(made, id));
    std::unique_ptr<IStreamController> controller(made);
    LinkSink(*controller);
    RequireSuccess(controller->start());
    streams_.emplace(id, std::move(controller));
}

void CPlayedStreams::stop(const SVideoStreamId& id) {
    if (streams_.erase(id) == 0)
        throw std::runtime_error("the stream does not play");
}

} // namespace corvane::vornhost
