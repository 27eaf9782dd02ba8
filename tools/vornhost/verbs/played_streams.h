#pragma once

#include "host/camera.h"
#include "host/stream_controller.h"

#include <map>
#include <memory>

namespace corvane::vornhost {

// Video streams that play beside a script, their frames dropped. Belongs to one thread.
class CPlayedStreams {
public:
    // Builds the stream's pipeline and plays it; whether its data comes is not waited for. Throws
    // std::runtime_error, also for a stream that plays already.
    void start(vorn_camera_base::v1_0::CVornCamera& camera, const handler_impl::SVideoStreamId& id);
    // Tears it down. Throws std::runtime_error for one that does not play.
    void stop(const handler_impl::SVideoStreamId& id);
    // Tears all down, which must happen before their camera ends.
    void stopAll() { streams_.clear(); }

private:
    std::map<handler_impl::SVideoStreamId, std::unique_ptr<device_handler::v1_0::IStreamController>> streams_;
};

} // namespace corvane::vornhost
