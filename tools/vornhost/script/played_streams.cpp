#include "tools/vornhost/script/played_streams.h"

#include "site/calls/answer_text.h"
#include "site/events/event_text.h"
#include "tools/vornhost/names.h"

#include <stdexcept>
#include <utility>

namespace corvane::vornhost {
namespace {

void RequireSuccess(const CError& error) {
    if (error)
        throw std::runtime_error(error.getText());
}

template <class Streams, class Id>
void RequireNew(const Streams& streams, const Id& id) {
    if (streams.count(id) != 0)
        throw std::runtime_error("the stream plays already");
}

template <class Streams, class Id>
void Stop(Streams& streams, const Id& id) {
    if (streams.erase(id) == 0)
        throw std::runtime_error("the stream does not play");
}

void LinkSink(IStreamController& controller) {
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    if (!sink)
        throw std::runtime_error(device_handler::v1_0::NoElementText + std::string("fakesink"));
    g_object_set(sink, "sync", FALSE, nullptr);
    gst_bin_add(GST_BIN(controller.getPipeline()), sink);
    const CGstRef<GstPad> input(gst_element_get_static_pad(sink, "sink"));
    gst_pad_link(controller.getSourcePad(), input.get()); // a fakesink takes everything
}

} // namespace

void CPlayedStreams::startVideo(CVornCamera& camera, const SVideoStreamId& id) {
    RequireNew(videos_, id);
    IStreamController* made = nullptr;
    RequireSuccess(camera.createVideoStreamPipeline(made, id));
    std::unique_ptr<IStreamController> controller(made);
    LinkSink(*controller);
    RequireSuccess(controller->start());
    videos_.emplace(id, std::move(controller));
}

void CPlayedStreams::startEvents(CVornCamera& camera, int input) {
    RequireNew(events_, input);
    if (!lines_)
        lines_ = std::make_unique<COutputThread>();
    SEventStreamObserver observer;
    observer.event = [lines = lines_.get(), input](const SStreamEvent& event) {
        lines->add(JsonLine(EventJson(event, std::chrono::system_clock::now(), input)));
    };
    observer.ended = [lines = lines_.get(), input](const CError& error) {
        if (error) // an end-of-stream has its own line
            lines->add(
                JsonLine(ErrorJson("events", "input " + std::to_string(input) + ": " + error.getText())));
    };
    events_.emplace(input, std::make_unique<CEventStream>(camera, input, std::move(observer)));
}

void CPlayedStreams::stopVideo(const SVideoStreamId& id) {
    Stop(videos_, id);
}

void CPlayedStreams::stopEvents(int input) {
    Stop(events_, input);
}

void CPlayedStreams::stopAll() {
    videos_.clear();
    events_.clear();
}

} // namespace corvane::vornhost
