#pragma once

#include "tests/support/temporary_folder.h"
#include "tests/support/wait_until.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <mutex>
#include <netinet/in.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace corvane::service {

// A process beside the test; killed at the end.
class CChild {
public:
    explicit CChild(std::vector<std::string> words) {
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        if (::posix_spawnp(&process_, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0)
            throw std::runtime_error(words[0] + " cannot be started");
    }
    explicit CChild(pid_t process) : process_(process) {}
    ~CChild() { kill(); }
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    void signal(int number) const { ::kill(process_, number); }
    void kill() {
        if (process_ <= 0)
            return;
        ::kill(process_, SIGKILL);
        (void)wait();
    }
    int wait() {
        int status = 0;
        ::waitpid(process_, &status, 0);
        process_ = -1;
        return status;
    }

private:
    pid_t process_ = -1;
};

struct SHeard {
    std::string topic;
    std::string payload;
    bool isRetained;
    std::string correlation;

    friend bool operator==(const SHeard& a, const SHeard& b) {
        return a.topic == b.topic && a.payload == b.payload && a.isRetained == b.isRetained &&
               a.correlation == b.correlation;
    }
};

// Another program at the broker, which hears everything.
class CMqttClient {
public:
    explicit CMqttClient(int port, const std::string& filter = "#")
        : client_(::mosquitto_new(nullptr, true, this)) {
        ::mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
        ::mosquitto_message_v5_callback_set(client_, &CMqttClient::heard);
        if (!test_support::WaitUntil(
                [&] { return ::mosquitto_connect(client_, "127.0.0.1", port, 60) == MOSQ_ERR_SUCCESS; }))
            throw std::runtime_error("the broker takes no connection");
        ::mosquitto_loop_start(client_);
        ::mosquitto_subscribe(client_, nullptr, filter.c_str(), 0); // of which a broker holds back nothing
        publish("ready", "");
        if (!test_support::WaitUntil([&] { return has("ready", ""); }))
            throw std::runtime_error("the broker tells nothing");
    }
    ~CMqttClient() {
        ::mosquitto_disconnect(client_);
        ::mosquitto_loop_stop(client_, false);
        ::mosquitto_destroy(client_);
    }
    CMqttClient(const CMqttClient&) = delete;
    CMqttClient& operator=(const CMqttClient&) = delete;

    void publish(const std::string& topic, const std::string& payload, bool isRetained = false,
                 const std::string& response = "", const std::string& correlation = "") {
        mosquitto_property* properties = nullptr;
        if (!response.empty())
            ::mosquitto_property_add_string(&properties, MQTT_PROP_RESPONSE_TOPIC, response.c_str());
        if (!correlation.empty())
            ::mosquitto_property_add_binary(&properties, MQTT_PROP_CORRELATION_DATA, correlation.data(),
                                            static_cast<std::uint16_t>(correlation.size()));
        ::mosquitto_publish_v5(client_, nullptr, topic.c_str(), static_cast<int>(payload.size()),
                               payload.data(), 1, isRetained, properties);
        ::mosquitto_property_free_all(&properties);
    }

    // What was heard by now, in its order.
    std::vector<SHeard> all() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return heard_;
    }
    // The payloads of a topic that came while this client was there.
    std::vector<std::string> of(const std::string& topic) const {
        std::vector<std::string> payloads;
        for (const SHeard& one : all())
            if (one.topic == topic && !one.isRetained)
                payloads.push_back(one.payload);
        return payloads;
    }
    bool has(const std::string& topic, const std::string& payload) const {
        for (const SHeard& one : all())
            if (one.topic == topic && one.payload == payload)
                return true;
        return false;
    }
    bool waitFor(const std::string& topic, const std::string& payload) const {
        return test_support::WaitUntil([&] { return has(topic, payload); });
    }

private:
    static void heard(::mosquitto*, void* context, const ::mosquitto_message* message,
                      const mosquitto_property* properties) {
        auto& self = *static_cast<CMqttClient*>(context);
        void* correlation = nullptr;
        std::uint16_t size = 0;
        ::mosquitto_property_read_binary(properties, MQTT_PROP_CORRELATION_DATA, &correlation, &size, false);
        SHeard one{message->topic,
                   std::string(static_cast<const char*>(message->payload),
                               static_cast<std::size_t>(message->payloadlen)),
                   message->retain, std::string(static_cast<const char*>(correlation), size)};
        std::free(correlation);
        const std::lock_guard<std::mutex> lock(self.mutex_);
        self.heard_.push_back(std::move(one));
    }

    ::mosquitto* const client_;
    mutable std::mutex mutex_; // guards what follows
    std::vector<SHeard> heard_;
};

// A broker on a loopback port of its own, which stays the same when it is started again.
class CBroker {
public:
    explicit CBroker(int port) : port_(port) {}

    // `more`: lines of its configuration, behind that of its listener.
    void start(const std::string& more = "allow_anonymous true\n") {
        const std::string file =
            folder.file("mosquitto.conf", "user root\nlistener " + std::to_string(port_) +
                                              " 127.0.0.1\nlog_dest file " + log() + "\n" + more);
        // It does not outlive the test, however that ends.
        child_ = std::make_unique<CChild>(
            std::vector<std::string>{"setpriv", "--pdeathsig", "KILL", "mosquitto", "-c", file});
        if (!test_support::WaitUntil([this] { return isThere(); }))
            throw std::runtime_error("the broker does not listen");
    }
    void kill() { child_.reset(); }
    void signal(int number) const { child_->signal(number); }

    int port() const { return port_; }
    std::string log() const { return folder.file("log"); }

    // The retained messages of all, by topic.
    std::map<std::string, std::string> retained() const {
        const CMqttClient client(port_);
        std::map<std::string, std::string> values;
        for (const SHeard& one : client.all())
            if (one.isRetained)
                values[one.topic] = one.payload;
        return values;
    }

    const test_support::CTemporaryFolder folder;

private:
    bool isThere() const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port_));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool isThere =
            ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(probe);
        return isThere;
    }

    const int port_;
    std::unique_ptr<CChild> child_;
};

} // namespace corvane::service
