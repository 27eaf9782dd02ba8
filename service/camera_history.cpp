#include "service/camera_history.h"

#include "refhost/base/log.h"
#include "refhost/base/printable_text.h"
#include "site/base/json_line.h"
#include "site/base/utc_time.h"

#include <algorithm>

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

CCameraHistory::SMinute& CCameraHistory::minuteOf(Time time) {
    const std::int64_t minute = MinuteOf(time);
    if (minutes_.empty() || minutes_.back().minute < minute)
        minutes_.push_back({minute, {}, 0, 0, {}, {}});
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

void CCameraHistory::noteInput(const SInputLevel& level, Time time) {
    const std::lock_guard<std::mutex> lock(mutex_);
    inputs_.push_back(
        {time, {{"time", site::UtcTimeText(time)}, {"input", level.input}, {"state", level.stateName()}}});
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

ordered_json CCameraHistory::lastHour(Time now) const {
    const Time from = now - std::chrono::hours(1);
    const auto since = [from](const std::deque<SChange>& changes) {
        ordered_json all = ordered_json::array();
        for (const SChange& one : changes)
            if (one.time >= from)
                all.push_back(one.json);
        return all;
    };
    const std::lock_guard<std::mutex> lock(mutex_);
    ordered_json answers = ordered_json::array();
    ordered_json frames = ordered_json::array();
    for (const SMinute& minute : minutes_) {
        const Time begin{std::chrono::minutes(minute.minute)};
        if (minute.minute <= MinuteOf(now) - Hour)
            continue;
        std::vector<float> sorted = minute.milliseconds;
        std::sort(sorted.begin(), sorted.end());
        if (!sorted.empty() || minute.lost > 0)
            answers.push_back(
                {{"time", site::UtcTimeText(begin)},
                 {"median", sorted.empty() ? 0 : site::ThreeDecimals(sorted[sorted.size() / 2])},
                 {"longest", sorted.empty() ? 0 : site::ThreeDecimals(sorted.back())},
                 {"count", sorted.size()},
                 {"lost", minute.lost}});
        // Nobody may have looked for all of the minute.
        const std::chrono::duration<double> looked = minute.lastPicture - minute.firstPicture;
        if (looked.count() > 0)
            frames.push_back(
                {{"time", site::UtcTimeText(begin)},
                 {"rate", site::ThreeDecimals(static_cast<double>(minute.pictures - 1) / looked.count())}});
    }
    return {{"from", site::UtcTimeText(from)},
            {"answers", answers},
            {"frames", frames},
            {"inputs", since(inputs_)},
            {"states", since(states_)}};
}

} // namespace corvane::service
