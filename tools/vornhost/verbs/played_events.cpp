#include "tools/vornhost/verbs/played_events.h"

#include "tools/vornhost/calls/answers.h"
#include "tools/vornhost/events/event_lines.h"

#include <stdexcept>

namespace corvane::vornhost {

using device_handler::v1_0::CError;
using device_handler::v1_0::SStreamEvent;

void CPlayedEvents::start(vorn_camera_base::v1_0::CVornCamera& camera, int input) {
    if (streams_.count(input) != 0)
        throw std::runtime_error("the stream plays already");
    if (!lines_)
        lines_ = std::make_unique<CLineWriter>();
    SEventStreamObserver observer;
    observer.event = [lines = lines_.get(), input](const SStreamEvent& event) {
        lines->add(JsonLine(EventJson(event, input)));
    };
    observer.ended = [lines = lines_.get(), input](const CError& error) {
        if (error) // an end-of-stream has its own line
            lines->add(
                JsonLine(ErrorJson("events", "input " + std::to_string(input) + ": " + error.getText())));
    };
    streams_.emplace(input, std::make_unique<CEventStream>(camera, input, std::move(observer)));
}

void CPlayedEvents::stop(int input) {
    if (streams_.erase(input) == 0)
        throw std::runtime_error("the stream does not play");
}

} // namespace corvane::vornhost
