#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane::service {

struct SMqttMessage {
    std::string topic;
    std::string payload; // of a retained one: empty where the topic is to be emptied
    bool isRetained = false;
    std::string correlation = {}; // of an answer: what the caller knows it by
};

// What a broker is to be told, and has not yet said that it knows. However long it is away, that is the last
// value of each topic that is retained, and of the rest so many. Belongs to one thread at a time.
class CMqttOutbox {
public:
    explicit CMqttOutbox(std::size_t mostOthers) : mostOthers_(mostOthers) {}

    // The retained value of a topic from now on; an empty one empties it.
    void retain(const std::string& topic, const std::string& value);
    // Likewise, before all else.
    void retainFirst(const std::string& topic, const std::string& value);
    // The retained topics that have a value and begin so.
    std::vector<std::string> topicsBelow(const std::string& beginning) const;
    bool hasValue(const std::string& topic) const;
    // One that is not retained. Where there are too many, the oldest is dropped.
    void add(SMqttMessage message);

    // The next that is to be sent, which counts as under way from then on; nothing when all are.
    std::optional<SMqttMessage> next();
    // What next() gave last could not be sent and never can be.
    void drop();
    // It has been sent under this number.
    void sent(int number, SMqttMessage message);
    // Whether the broker has it, whatever becomes of it there.
    void acknowledged(int number);
    // A connection begins: what was under way may be lost, and the broker may have forgotten everything.
    void beginAnew();

    std::size_t underWay() const { return underWay_.size(); }
    std::size_t waiting() const { return unsent_.size() + others_.size() + underWay_.size(); }
    bool isWaiting(const std::string& topic) const;
    std::uint64_t dropped() const { return dropped_; }

private:
    struct SValue {
        std::string payload;
        bool isUnsent = false;
    };

    bool set(const std::string& topic, const std::string& value);
    void keepBounds();

    const std::size_t mostOthers_;
    std::map<std::string, SValue> retained_;
    std::deque<std::string> unsent_;  // the topics of those of them that are to be sent, each once
    std::deque<SMqttMessage> others_; // in their order
    std::vector<std::pair<int, SMqttMessage>> underWay_;
    std::uint64_t dropped_ = 0;
};

} // namespace corvane::service
