#include "service/event_source.h"

#include "site/base/utc_time.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace corvane::service {
namespace {

constexpr std::size_t MostAtATime = 64; // events

} // namespace

CEventSource::CEventSource(CEventHub& hub, SEventWishes wishes, IsMeant isMeant)
    : hub_(hub), wishes_(std::move(wishes)), isMeant_(std::move(isMeant)) {
    if (wishes_.exchanges)
        wishes_.exchanges->follow();
    begin();
}

CEventSource::~CEventSource() {
    if (isListening_)
        hub_.forget(listener_);
    if (wishes_.exchanges)
        wishes_.exchanges->unfollow();
}

void CEventSource::setWaker(std::function<void()> wake) {
    listener_ = hub_.listen(std::move(wake));
    isListening_ = true;
}

// "EPOCH-NUMBER" of a client that was here before.
void CEventSource::begin() {
    number_ = hub_.last(); // once, or what comes between two looks is never told
    add("heartbeat", hub_.epoch() + "-" + std::to_string(number_),
        R"({"at":")" + site::UtcTimeText(std::chrono::system_clock::now()) + R"("})");
    if (wishes_.lastId.empty())
        return;
    const std::string prefix = hub_.epoch() + "-";
    const char* const end = wishes_.lastId.data() + wishes_.lastId.size();
    std::uint64_t known = 0;
    bool isOfNow = wishes_.lastId.compare(0, prefix.size(), prefix) == 0;
    if (isOfNow) {
        const auto [stop, error] = std::from_chars(wishes_.lastId.data() + prefix.size(), end, known);
        isOfNow = stop == end && error == std::errc();
    }
    if (isOfNow && hub_.after(known, 0)) {
        text_.clear(); // its id would be later than what is replayed
        number_ = known;
    } else
        add("resync", hub_.epoch() + "-" + std::to_string(number_), "{}");
}

IBodySource::Step CEventSource::read(char* buffer, std::size_t size, std::size_t& count) {
    if (text_.empty() && !fetch())
        return Step::Broken;
    if (text_.empty())
        return Step::Wait;
    count = std::min(size, text_.size());
    std::memcpy(buffer, text_.data(), count);
    text_.erase(0, count);
    lastText_ = std::chrono::steady_clock::now();
    return Step::Some;
}

// False for a client that has been so slow that events are gone.
bool CEventSource::fetch() {
    while (text_.empty()) {
        const auto events = hub_.after(number_, MostAtATime);
        if (!events)
            return false;
        for (const SHubEvent& event : *events) {
            number_ = event.number;
            if (event.name.empty() || isMeant_(event.name))
                add(event.kind, hub_.epoch() + "-" + std::to_string(event.number), event.data);
        }
        if (events->empty())
            break;
    }
    fetchExchanges();
    if (text_.empty() && std::chrono::steady_clock::now() - lastText_ >= HeartbeatPeriod)
        add("heartbeat", "", R"({"at":")" + site::UtcTimeText(std::chrono::system_clock::now()) + R"("})");
    return true;
}

void CEventSource::fetchExchanges() {
    if (!wishes_.exchanges)
        return;
    for (const std::string& exchange : wishes_.exchanges->exchangesAfter(exchangeNumber_))
        add("exchange", "", R"({"name":")" + wishes_.exchangesOf + R"(",)" + exchange.substr(1));
}

void CEventSource::add(const std::string& kind, const std::string& id, const std::string& data) {
    text_ += "event: " + kind + "\n";
    if (!id.empty())
        text_ += "id: " + id + "\n";
    text_ += "data: " + data + "\n\n";
}

} // namespace corvane::service
