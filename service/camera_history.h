#pragma once

#include "service/camera_status.h"
#include "site/diagnosis/exchange_watch.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace corvane::service {

// An exchange with a camera as clients are told: {"time","method","path","body","status","ms","failure"?,
// "reply"?}, secrets masked.
nlohmann::ordered_json ExchangeJson(const site::SWatchedExchange& exchange);

// What has happened to a camera: its last exchanges, and the last hour. Callable from any thread.
class CCameraHistory {
public:
    static constexpr std::size_t MostExchanges = 200;

    void note(const site::SWatchedExchange& exchange);
    // From then on; also that it is not known any more.
    void noteInput(SInputLevel level, Time time);
    void noteState(Health health, const std::optional<site::SDiagnosis>& problem, Time time);
    void notePicture(Time time);

    // Those after the number as JSON, oldest first; `number` becomes the last one's. A number that is no
    // longer there is passed over.
    std::vector<std::string> exchangesAfter(std::uint64_t& number) const;
    // {"from","answers","frames","inputs","states"}.
    nlohmann::ordered_json lastHour(Time now) const;

    // While somebody follows the exchanges, each is told to the site's observer.
    void follow() { ++followers_; }
    void unfollow() { --followers_; }
    bool isFollowed() const { return followers_ > 0; }

private:
    struct SExchange {
        std::uint64_t number;
        std::string json;
    };
    struct SAnswers {
        float median = 0; // milliseconds
        float longest = 0;
        std::size_t count = 0;
    };
    struct SMinute {
        std::int64_t minute;             // since the epoch
        std::vector<float> milliseconds; // of the present minute's answers
        SAnswers answers;                // of a minute that is over
        std::size_t lost = 0;
        std::size_t pictures = 0;
        Time firstPicture;
        Time lastPicture;
    };
    struct SChange {
        Time time;
        nlohmann::ordered_json json;
    };

    static SAnswers answersOf(std::vector<float> milliseconds);
    SMinute& minuteOf(Time time);
    // Of the minutes from the first one on.
    nlohmann::ordered_json answersSince(std::int64_t first) const;
    nlohmann::ordered_json framesSince(std::int64_t first) const;

    std::atomic<int> followers_{0};

    mutable std::mutex mutex_; // guards what follows
    std::uint64_t lastNumber_ = 0;
    std::deque<SExchange> exchanges_;
    std::deque<SMinute> minutes_;
    std::deque<SInputLevel> inputs_; // `since` is when it was noted
    std::deque<SChange> states_;
};

} // namespace corvane::service
