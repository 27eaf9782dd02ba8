#pragma once

#include "service/http_message.h"
#include "service/picture_feed.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <string>

namespace corvane::service {

inline constexpr const char* PictureBoundary = "picture";

// A client's pictures one behind another (multipart/x-mixed-replace), as many as it reads: who is slow gets
// fewer.
class CPictureSource : public IBodySource {
public:
    // `period`: the shortest time from one to the next.
    CPictureSource(std::shared_ptr<CPictureFeed> feed, std::chrono::milliseconds period);
    ~CPictureSource() override;

    Step read(char* buffer, std::size_t size, std::size_t& count) override;
    void setWaker(std::function<void()> wake) override;

private:
    // Shared with the feed's callbacks, which may come when the client has gone.
    struct SState {
        std::mutex mutex; // guards what follows
        std::function<void()> wake;
        std::optional<CPictureFeed::SOutcome> outcome;
        bool isAsked = false;
    };

    Step fetch();
    void ask();

    const std::shared_ptr<CPictureFeed> feed_;
    const std::chrono::milliseconds period_;
    const std::shared_ptr<SState> state_ = std::make_shared<SState>();
    std::uint64_t number_ = 0; // of the last picture
    Time time_;                // of the last that was sent
    std::string head_;         // of the present picture; what is left of it
    std::shared_ptr<const std::string> picture_;
    std::size_t sent_ = 0; // of the picture
};

} // namespace corvane::service
