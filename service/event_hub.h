#pragma once

#include "service/site_observer.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace corvane::service {

struct SHubEvent {
    std::uint64_t number = 0; // from 1, without a gap
    std::string name;         // of the camera; empty: of the whole site
    std::string kind;         // "camera", "input", "drift", "site"
    std::string data;         // JSON, one line
};

// The latest events of the site, for clients that read at their own pace. Who is slower than the site is
// told so; nobody has a queue of their own. Callable from any thread.
class CEventHub : public ISiteObserver {
public:
    struct SBounds {
        std::size_t events = 20'000;
        std::size_t bytes = 8 * 1024 * 1024; // of data
    };

    explicit CEventHub(SBounds bounds);
    CEventHub() : CEventHub(SBounds()) {}

    // Different at each start of the service.
    const std::string& epoch() const { return epoch_; }

    void add(const std::string& kind, const std::string& name, std::string data);

    // Up to `most` events after the number, and the number to go on with. Nothing where some of them are no
    // longer there.
    std::optional<std::vector<SHubEvent>> after(std::uint64_t number, std::size_t most) const;
    std::uint64_t last() const;

    // Calls all listeners, as an event would.
    void wake();

    // `wake` is called after each event, must return at once, and must not use the hub.
    using ListenerId = std::uint64_t;
    ListenerId listen(std::function<void()> wake);
    // `wake` is not being called any more once it returns.
    void forget(ListenerId id);
    std::size_t listeners() const;

    void cameraChanged(const SCameraStatus& camera, const nlohmann::ordered_json& line) override;
    void inputChanged(const SCameraStatus& camera, const SInputLevel& level,
                      const nlohmann::ordered_json& line) override;
    void driftChanged(const SCameraStatus& camera) override;
    void exchangeNoted() override { wake(); }
    void cameraGone(const std::string& name) override;

private:
    const SBounds bounds_;
    const std::string epoch_;

    mutable std::mutex listening_; // guards the next two; taken after mutex_ is released
    std::map<ListenerId, std::function<void()>> listeners_;
    ListenerId lastListener_ = 0;

    mutable std::mutex mutex_; // guards what follows
    std::deque<SHubEvent> events_;
    std::uint64_t last_ = 0;
    std::size_t bytes_ = 0;
};

} // namespace corvane::service
