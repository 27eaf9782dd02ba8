#pragma once

#include "service/camera_history.h"
#include "service/event_hub.h"
#include "service/http_message.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace corvane::service {

struct SEventWishes {
    std::vector<std::string> only; // shell patterns of names, or "tag:WORD"; empty: all
    std::string lastId;            // of what the client has; empty: nothing
    // Of one camera, whose exchanges are told too; null: of none.
    std::shared_ptr<CCameraHistory> exchanges;
    std::string exchangesOf; // its name
};

// Whether a client with these patterns is told of the camera of the name.
using IsMeant = std::function<bool(const std::string& name)>;

// A client's server-sent events, from the hub as fast as it reads them.
class CEventSource : public IBodySource {
public:
    static constexpr std::chrono::seconds HeartbeatPeriod{15};

    CEventSource(CEventHub& hub, SEventWishes wishes, IsMeant isMeant);
    ~CEventSource() override;

    Step read(char* buffer, std::size_t size, std::size_t& count) override;
    void setWaker(std::function<void()> wake) override;

private:
    void begin();
    bool fetch();
    void fetchExchanges();
    void add(const std::string& kind, const std::string& id, const std::string& data);

    CEventHub& hub_;
    const SEventWishes wishes_;
    const IsMeant isMeant_;
    std::uint64_t number_ = 0;         // of the last event that was taken
    std::uint64_t exchangeNumber_ = 0; // likewise
    std::string text_;                 // that has not been read yet
    std::chrono::steady_clock::time_point lastText_ = std::chrono::steady_clock::now();
    CEventHub::ListenerId listener_ = 0;
    bool isListening_ = false;
};

} // namespace corvane::service
