#include "tools/vornhost/recording/snapshot.h"

#include "refhost/base/time_text.h"
#include "tools/vornhost/recording/frame_size.h"

namespace corvane::vornhost {

CSnapshot::CSnapshot(IStreamController& controller, VideoCodec codec)
    : controller_(controller), pictures_(controller, codec, [this](std::string jpeg, GstPad* pad) {
          SPicture picture{std::move(jpeg), FrameSizeOf(pad)};
          const std::lock_guard<std::mutex> lock(mutex_);
          if (!picture_)
              picture_ = std::move(picture);
          changed_.notify_all();
      }) {}

CSnapshot::~CSnapshot() {
    controller_.stop();
}

CError CSnapshot::take(std::chrono::milliseconds silence, std::optional<SPicture>& picture) {
    controller_.setEndObserver([this] { end(); });
    CError error = pictures_.link();
    if (!error)
        error = controller_.start();
    if (error)
        return error;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        const bool isKnown = changed_.wait_for(lock, silence, [this] { return picture_ || isEnded_; });
        picture = picture_;
        if (!isKnown)
            return {RtnCode::NotAccessible, Origin::General,
                    "no whole picture within " + refhost::TimeText(silence)};
    }
    const auto end = controller_.waitForEnd(std::chrono::milliseconds::zero());
    if (picture || !end)
        return CError::Success();
    return end->cause == SStreamEnd::Cause::Failure
               ? end->error
               : CError(RtnCode::NotAccessible, Origin::Device, "the camera ended the stream");
}

void CSnapshot::interrupt() {
    end();
}

void CSnapshot::end() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnded_ = true;
    changed_.notify_all();
}

} // namespace corvane::vornhost
