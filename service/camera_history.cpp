#include "service/camera_history.h"

#include "refhost/base/log.h"
#include "refhost/base/printable_text.h"
#include "site/base/json_line.h"
#include "site/base/utc_time.h"

#include <algorithm>
#include <utility>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;

constexpr std::size_t MostReply = 200;    // bytes that are shown
constexpr std::size_t MostChanges = 1000; // of the last hour
constexpr std::size_t MostAnswers = 500;  // of a minute, that are kept for its median
constexpr std::int64_t Hour = 60;         // minutes

std::int64_t MinuteOf(Time time) {
    return std::chrono::duration_cast<std::chrono::minutes>(time.time_since_epoch()).count();
}

template <class Deque>
void Bound(Deque& deque, std::size_t most) {
    if (deque.size() > most)
        deque.pop_front();
}

} // namespace

ordered_json ExchangeJson(const site::SWatchedExchange& exchange) {
    ordered_json json{{"time", site::UtcTimeText(exchange.ended)},
                      {"method", exchange.method},
                      {"path", refhost::MaskSecrets(exchange.path)},
                      {"body", refhost::MaskSecrets(exchange.body)},
                      {"status", exchange.status},
                      {"ms", site::ThreeDecimals(exchange.milliseconds)}};
    if (!exchange.failure.empty())
        json["failure"] = exchange.failure;
    else if (exchange.fault)
        json["failure"] = exchange.fault->problem;
    if (!exchange.reply.empty())
        json["reply"] = refhost::MaskSecrets(exchange.reply.substr(0, MostReply));
    return json;
}

CCameraHistory::SAnswers CCameraHistory::answersOf(std::vector<float> milliseconds) {
    if (milliseconds.empty())
        return {};
    std::sort(milliseconds.begin(), milliseconds.end());
    return {milliseconds[milliseconds.size() / 2], milliseconds.back(), milliseconds.size()};
}

// REQUIRES: mutex_ held.
CCameraHistory::SMinute& CCameraHistory::minuteOf(Time time) {
    const std::int64_t minute = MinuteOf(time);
    if (minutes_.empty() || minutes_.back().minute < minute) {
        if (!minutes_.empty())
            minutes_.back().answers = answersOf(std::exchange(minutes_.back().milliseconds, {}));
        minutes_.emplace_back().minute = minute;
    }
    while (minutes_.front().minute <= minute - Hour)
        minutes_.pop_front();
    return minutes_.back();
}

void CCameraHistory::note(const site::SWatchedExchange& exchange) {
    std::string json = refhost::JsonText(ExchangeJson(exchange));
    const std::lock_guard<std::mutex> lock(mutex_);
    exchanges_.push_back({++lastNumber_, std::move(json)});
    Bound(exchanges_, MostExchanges);
    SMinute& minute = minuteOf(exchange.ended);
    if (exchange.isFailed())
        ++minute.lost;
    else if (minute.milliseconds.size() < MostAnswers)
        minute.milliseconds.push_back(static_cast<float>(exchange.milliseconds));
}

void CCameraHistory::noteInput(SInputLevel level, Time time) {
    level.since = time;
    const std::lock_guard<std::mutex> lock(mutex_);
    inputs_.push_back(level);
    Bound(inputs_, MostChanges);
}

void CCameraHistory::noteState(Health health, const std::optional<site::SDiagnosis>& problem, Time time) {
    ordered_json json{{"time", site::UtcTimeText(time)}, {"state", NameOf(health)}};
    if (problem)
        json["problem"] = ProblemObject(*problem);
    const std::lock_guard<std::mutex> lock(mutex_);
    states_.push_back({time, std::move(json)});
    Bound(states_, MostChanges);
}

void CCameraHistory::notePicture(Time time) {
    const std::lock_guard<std::mutex> lock(mutex_);
    SMinute& minute = minuteOf(time);
    if (minute.pictures++ == 0)
        minute.firstPicture = time;
    minute.lastPicture = time;
}

std::vector<std::string> CCameraHistory::exchangesAfter(std::uint64_t& number) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> all;
    for (const SExchange& one : exchanges_)
        if (one.number > number)
            all.push_back(one.json);
    number = lastNumber_;
    return all;
}

// REQUIRES: mutex_ held.
ordered_json CCameraHistory::answersSince(std::int64_t first) const {
    ordered_json all = ordered_json::array();
    for (const SMinute& one : minutes_) {
        const SAnswers answers = one.milliseconds.empty() ? one.answers : answersOf(one.milliseconds);
        if (one.minute >= first && answers.count + one.lost > 0)
            all.push_back({{"time", site::UtcTimeText(Time{std::chrono::minutes(one.minute)})},
                           {"median", site::ThreeDecimals(answers.median)},
                           {"longest", site::ThreeDecimals(answers.longest)},
                           {"count", answers.count},
                           {"lost", one.lost}});
    }
    return all;
}

// Nobody may have looked for all of a minute. REQUIRES: mutex_ held.
ordered_json CCameraHistory::framesSince(std::int64_t first) const {
    ordered_json all = ordered_json::array();
    for (const SMinute& one : minutes_) {
        const std::chrono::duration<double> looked = one.lastPicture - one.firstPicture;
        if (one.minute >= first && looked.count() > 0)
            all.push_back(
                {{"time", site::UtcTimeText(Time{std::chrono::minutes(one.minute)})},
                 {"rate", site::ThreeDecimals(static_cast<double>(one.pictures - 1) / looked.count())}});
    }
    return all;
}

ordered_json CCameraHistory::lastHour(Time now) const {
    const Time from = now - std::chrono::hours(1);
    const std::int64_t first = MinuteOf(from) + 1;
    ordered_json inputs = ordered_json::array();
    ordered_json states = ordered_json::array();
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const SInputLevel& one : inputs_)
        if (one.since >= from)
            inputs.push_back(
                {{"time", site::UtcTimeText(one.since)}, {"input", one.input}, {"state", one.stateName()}});
    for (const SChange& one : states_)
        if (one.time >= from)
            states.push_back(one.json);
    return {{"from", site::UtcTimeText(from)},
            {"answers", answersSince(first)},
            {"frames", framesSince(first)},
            {"inputs", inputs},
            {"states", states}};
}

} // namespace corvane::service
