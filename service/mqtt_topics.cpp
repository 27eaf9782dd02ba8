#include "service/mqtt_topics.h"

#include "refhost/base/printable_text.h"
#include "site/base/exit_status.h"

#include <mosquitto.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;
using refhost::JsonText;

// Where home automation looks, unless somebody has told it otherwise.
constexpr const char* DiscoveryPrefix = "homeassistant/binary_sensor/";
constexpr const char* WildCards = "+#";

bool IsControl(char character) {
    return std::iscntrl(static_cast<unsigned char>(character)) != 0;
}

std::string SafePrefix(const std::string& prefix) {
    const bool isFit = !prefix.empty() && prefix.front() != '$' && prefix.front() != '/' &&
                       prefix.back() != '/' && prefix.find_first_of(WildCards) == std::string::npos &&
                       refhost::PrintableText(prefix) == prefix;
    if (!isFit)
        throw site::CFailure(
            site::ExitStatus::WrongUsage,
            "the prefix of the topics cannot be used: expected a word, or several with \"/\" between "
            "them, without \"+\", \"#\" and control characters");
    return prefix;
}

std::string SafeService(const std::string& service) {
    std::string safe = refhost::PrintableText(service);
    std::replace_if(
        safe.begin(), safe.end(),
        [](char one) { return one == '+' || one == '#' || one == '/' || IsControl(one); }, '_');
    if (safe.empty())
        throw site::CFailure(site::ExitStatus::WrongUsage, "the service needs a name, which its topics have");
    return safe;
}

// A text in the letters that home automation takes; of two that differ never the same.
std::string Plain(const std::string& text) {
    constexpr const char* Digits = "0123456789abcdef";
    std::string plain;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (std::isalnum(byte) != 0 || character == '-')
            plain += character;
        else
            plain.append({'_', Digits[byte >> 4], Digits[byte & 15]});
    }
    return plain;
}

} // namespace

CMqttTopics::CMqttTopics(const std::string& prefix, const std::string& service)
    : base_(SafePrefix(prefix) + "/" + SafeService(service) + "/"),
      node_(Plain(base_.substr(0, base_.size() - 1))) {}

std::vector<std::string> CMqttTopics::retainedFilters() const {
    return {base_ + "+/availability", base_ + "+/state", base_ + "+/input/+",
            DiscoveryPrefix + node_ + "/+/config"};
}

std::optional<std::string> CMqttTopics::cameraOfCall(const std::string& topic) const {
    const std::string end = "/call";
    const bool isCall = topic.size() > base_.size() + end.size() &&
                        topic.compare(0, base_.size(), base_) == 0 &&
                        topic.compare(topic.size() - end.size(), end.size(), end) == 0;
    if (!isCall)
        return std::nullopt;
    return topic.substr(base_.size(), topic.size() - base_.size() - end.size());
}

bool CMqttTopics::isForAnswers(const std::string& topic) const {
    const bool isOwn = topic.compare(0, base_.size(), base_) == 0;
    return !topic.empty() && topic.front() != '$' && !isOwn &&
           ::mosquitto_pub_topic_check2(topic.data(), topic.size()) == MOSQ_ERR_SUCCESS;
}

std::string CMqttTopics::discoveryOfConnection(const std::string& camera) const {
    return DiscoveryPrefix + node_ + "/" + Plain(camera) + "_connection/config";
}

std::string CMqttTopics::discoveryOfInput(const std::string& camera, int input) const {
    return DiscoveryPrefix + node_ + "/" + Plain(camera) + "_input" + std::to_string(input) + "/config";
}

std::vector<CMqttTopics::SDiscovery> CMqttTopics::discovery(const SCameraStatus& camera,
                                                            const std::string& version) const {
    const std::string id = node_ + "/" + Plain(camera.name);
    ordered_json device{{"identifiers", {id}}, {"name", camera.name}};
    if (!camera.model.empty())
        device["model"] = camera.model;
    if (!camera.firmware.empty())
        device["sw_version"] = camera.firmware;
    const ordered_json origin{{"name", "vornhost"}, {"sw", version}};

    std::vector<SDiscovery> all;
    all.push_back({discoveryOfConnection(camera.name), JsonText({{"name", "connection"},
                                                                 {"unique_id", id + "/connection"},
                                                                 {"device_class", "connectivity"},
                                                                 {"state_topic", availability(camera.name)},
                                                                 {"payload_on", "online"},
                                                                 {"payload_off", "offline"},
                                                                 {"availability", {{{"topic", service()}}}},
                                                                 {"device", device},
                                                                 {"origin", origin}})});
    for (const SInputLevel& level : camera.inputs) {
        const std::string number = std::to_string(level.input);
        all.push_back(
            {discoveryOfInput(camera.name, level.input),
             JsonText({{"name", "input " + number},
                       {"unique_id", id + "/input" + number},
                       {"state_topic", input(camera.name, level.input)},
                       {"payload_on", "active"},
                       {"payload_off", "inactive"},
                       {"availability_mode", "all"},
                       {"availability", {{{"topic", service()}}, {{"topic", availability(camera.name)}}}},
                       {"device", device},
                       {"origin", origin}})});
    }
    return all;
}

} // namespace corvane::service
