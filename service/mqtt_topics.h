#pragma once

#include "service/camera_status.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane::service {

// The topics of one service, and what stands where.
class CMqttTopics {
public:
    // Throws site::CFailure for a prefix that cannot begin a topic. Of the service's name becomes what a
    // topic can have; a name of which nothing is left is refused.
    CMqttTopics(const std::string& prefix, const std::string& service);

    std::string service() const { return base_ + "state"; }
    std::string availability(const std::string& camera) const { return base_ + camera + "/availability"; }
    std::string state(const std::string& camera) const { return base_ + camera + "/state"; }
    std::string input(const std::string& camera, int input) const {
        return base_ + camera + "/input/" + std::to_string(input);
    }
    std::string event(const std::string& camera) const { return base_ + camera + "/event"; }

    // For subscriptions: everything that services of this name have left with a broker, and calls.
    std::vector<std::string> retainedFilters() const;
    std::string callFilter() const { return base_ + "+/call"; }
    // The camera that a call is for; nothing where the topic is no call's.
    std::optional<std::string> cameraOfCall(const std::string& topic) const;
    // Whether a call may be answered there. The broker lets this service write where the caller may not: what
    // the service itself tells there must not be forged.
    bool isForAnswers(const std::string& topic) const;

    // What home automation learns of a camera: for each topic the message that describes one sensor.
    struct SDiscovery {
        std::string topic;
        std::string payload;
    };
    std::vector<SDiscovery> discovery(const SCameraStatus& camera, const std::string& version) const;
    // The topic of a camera's connection, and of one of its inputs.
    std::string discoveryOfConnection(const std::string& camera) const;
    std::string discoveryOfInput(const std::string& camera, int input) const;

private:
    std::string nodeOf(const std::string& camera) const;

    std::string base_; // "PREFIX/SERVICE/"
    std::string node_; // of home automation: the service, in letters that it takes
};

} // namespace corvane::service
