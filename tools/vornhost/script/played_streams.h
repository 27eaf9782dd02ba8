#pragma once

#include "site/base/names.h"
#include "site/events/event_stream.h"
#include "tools/vornhost/console/output_thread.h"
#include "tools/vornhost/names.h"

#include <map>
#include <memory>

namespace corvane::vornhost {

// Streams that play beside a script: video whose frames are dropped, and alarm inputs' events, whose lines
// are written among the script's answers. Belongs to one thread.
class CPlayedStreams {
public:
    // Builds the stream and plays it; whether its data comes is not waited for. Throws std::runtime_error,
    // also for one that plays already.
    void startVideo(CVornCamera& camera, const SVideoStreamId& id);
    void startEvents(CVornCamera& camera, int input);
    // Tears it down. Throws std::runtime_error for one that does not play.
    void stopVideo(const SVideoStreamId& id);
    void stopEvents(int input);
    // Tears all down, which must happen before their camera ends.
    void stopAll();

private:
    std::map<SVideoStreamId, std::unique_ptr<IStreamController>> videos_;
    std::unique_ptr<COutputThread> lines_; // from the first stream of events on; outlives them
    std::map<int, std::unique_ptr<CEventStream>> events_;
};

} // namespace corvane::vornhost
