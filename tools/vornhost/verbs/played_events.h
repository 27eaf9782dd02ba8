#pragma once

#include "tools/vornhost/console/line_writer.h"
#include "tools/vornhost/events/event_stream.h"

#include <map>
#include <memory>

namespace corvane::vornhost {

// Streams of alarm inputs' events that play beside a script, their lines written among its answers. Belongs
// to one thread.
class CPlayedEvents {
public:
    // Builds the stream of an input, from 0, and plays it; whether events come is not waited for. Throws
    // std::runtime_error, also for a stream that plays already.
    void start(vorn_camera_base::v1_0::CVornCamera& camera, int input);
    // Tears it down. Throws std::runtime_error for one that does not play.
    void stop(int input);
    // Tears all down, which must happen before their camera ends.
    void stopAll() { streams_.clear(); }

private:
    std::unique_ptr<CLineWriter> lines_; // from the first stream on; outlives them
    std::map<int, std::unique_ptr<CEventStream>> streams_;
};

} // namespace corvane::vornhost
