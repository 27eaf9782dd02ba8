#include "service/mqtt_outbox.h"

#include <algorithm>
#include <iterator>

namespace corvane::service {

// Whether there is something new to be sent.
bool CMqttOutbox::set(const std::string& topic, const std::string& value) {
    const auto [found, isNew] = retained_.try_emplace(topic);
    if (!isNew && found->second.payload == value)
        return false;
    found->second.payload = value;
    return !std::exchange(found->second.isUnsent, true);
}

void CMqttOutbox::retain(const std::string& topic, const std::string& value) {
    if (set(topic, value))
        unsent_.push_back(topic);
}

void CMqttOutbox::retainFirst(const std::string& topic, const std::string& value) {
    if (!set(topic, value)) // it may stand further behind
        unsent_.erase(std::remove(unsent_.begin(), unsent_.end(), topic), unsent_.end());
    retained_[topic].isUnsent = true;
    unsent_.push_front(topic);
}

std::vector<std::string> CMqttOutbox::topicsBelow(const std::string& beginning) const {
    std::vector<std::string> topics;
    for (auto one = retained_.lower_bound(beginning);
         one != retained_.end() && one->first.compare(0, beginning.size(), beginning) == 0; ++one)
        if (!one->second.payload.empty())
            topics.push_back(one->first);
    return topics;
}

bool CMqttOutbox::hasValue(const std::string& topic) const {
    const auto found = retained_.find(topic);
    return found != retained_.end() && !found->second.payload.empty();
}

void CMqttOutbox::add(SMqttMessage message) {
    others_.push_back(std::move(message));
    keepBounds();
}

void CMqttOutbox::keepBounds() {
    for (; others_.size() > mostOthers_; ++dropped_)
        others_.pop_front();
}

std::optional<SMqttMessage> CMqttOutbox::next() {
    if (!unsent_.empty()) {
        const std::string topic = std::move(unsent_.front());
        unsent_.pop_front();
        SValue& value = retained_[topic];
        value.isUnsent = false;
        return SMqttMessage{topic, value.payload, true};
    }
    if (others_.empty())
        return std::nullopt;
    SMqttMessage message = std::move(others_.front());
    others_.pop_front();
    return message;
}

void CMqttOutbox::drop() {
    ++dropped_;
}

void CMqttOutbox::sent(int number, SMqttMessage message) {
    underWay_.emplace_back(number, std::move(message));
}

void CMqttOutbox::acknowledged(int number) {
    const auto found = std::find_if(underWay_.begin(), underWay_.end(),
                                    [number](const auto& one) { return one.first == number; });
    if (found == underWay_.end())
        return;
    const SMqttMessage message = std::move(found->second);
    underWay_.erase(found);
    // Once the broker has nothing of it any more, nobody need remember it.
    if (message.isRetained && !hasValue(message.topic) && !isWaiting(message.topic))
        retained_.erase(message.topic);
}

void CMqttOutbox::beginAnew() {
    std::deque<SMqttMessage> again;
    for (auto& one : underWay_)
        if (!one.second.isRetained)
            again.push_back(std::move(one.second));
    underWay_.clear();
    others_.insert(others_.begin(), std::make_move_iterator(again.begin()),
                   std::make_move_iterator(again.end()));
    keepBounds();
    unsent_.clear();
    for (auto& [topic, value] : retained_) {
        value.isUnsent = true;
        unsent_.push_back(topic);
    }
}

bool CMqttOutbox::isWaiting(const std::string& topic) const {
    const auto kept = retained_.find(topic);
    return (kept != retained_.end() && kept->second.isUnsent) ||
           std::any_of(underWay_.begin(), underWay_.end(),
                       [&](const auto& one) { return one.second.topic == topic; });
}

} // namespace corvane::service
