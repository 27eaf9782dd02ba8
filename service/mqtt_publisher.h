#pragma once

#include "service/mqtt_broker.h"
#include "service/site_observer.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace corvane::service {

// How long what takes; for tests.
struct SMqttTimes {
    std::chrono::milliseconds firstRetry{
        1000}; // after which a broker that is away is tried again; then twice as long
    std::chrono::milliseconds longestRetry{30'000};
    std::chrono::milliseconds farewell{700};     // in which what is left is sent at the end
    std::chrono::seconds keepAlive{15};          // a broker that says nothing for longer counts as gone
    std::chrono::milliseconds leftovers{45'000}; // after which what nobody has told of is a former run's
};

struct SMqttOptions {
    SMqttBroker broker;
    std::optional<std::string> passwordFile; // its first line is the broker's password
    std::string prefix = "vornhost";
    std::string service; // what its topics are called; characters that a topic cannot have are replaced
    bool takesCalls = false;
    bool describesSensors = false; // to home automation
    std::string version;           // of the program, for home automation
    std::size_t mostEvents = 1000; // and answers to calls, that wait for the broker
    SMqttTimes times = {};
};

// What happens there, for others. Told on the publisher's own thread; must return at once.
struct SMqttCallbacks {
    using Answer =
        std::function<void(const std::string& answer)>; // callable from any thread, at any time, once

    // A text for the log: that the broker is there, or why not, once for each reason in a row.
    std::function<void(const std::string& text)> tell = nullptr;
    // Somebody calls an operation, a JSON object {"operation","arguments"} of whatever it holds in truth.
    std::function<void(const std::string& camera, const std::string& payload, const Answer& answer)> call =
        nullptr;
};

// Tells a broker what the site knows, over MQTT 5, for as long as it lives. A broker that is away is tried
// again for ever, and costs bounded memory.
class CMqttPublisher : public ISiteObserver {
public:
    // Throws site::CFailure for options that cannot be used.
    CMqttPublisher(SMqttOptions options, SMqttCallbacks callbacks);
    // As end().
    ~CMqttPublisher() override;
    CMqttPublisher(const CMqttPublisher&) = delete;
    CMqttPublisher& operator=(const CMqttPublisher&) = delete;

    // Begins to connect. What a former run has left with the broker stays for as long as cameras may take to
    // tell their inputs, and is then taken away where none has told of it.
    void start();
    // Tells the broker that the service is offline, and ends; returns within a second whatever the broker
    // does.
    void end();

    void cameraChanged(const SCameraStatus& camera, const nlohmann::ordered_json& line) override;
    void inputChanged(const SCameraStatus& camera, const SInputLevel& level,
                      const nlohmann::ordered_json& line) override;
    void driftChanged(const SCameraStatus& /*camera*/) override {} // no topic has it
    void cameraGone(const std::string& name) override;

    struct SState {
        bool isConnected = false;
        std::size_t waiting = 0;   // messages that the broker has not taken yet
        std::uint64_t dropped = 0; // that it never will, since they were too many or it does not take them
    };
    SState state() const;

private:
    class CWork;
    std::shared_ptr<CWork> work_; // answers to calls may come when the publisher is gone
};

} // namespace corvane::service
