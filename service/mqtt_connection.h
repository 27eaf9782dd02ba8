#pragma once

#include "service/mqtt_broker.h"
#include "service/mqtt_outbox.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct mosquitto;

namespace corvane::service {

// A message that has come.
struct SMqttReceived {
    std::string topic;
    std::string payload;
    bool isRetained = false; // it has been with the broker since before
    std::string responseTopic;
    std::string correlation;
};

// What becomes of a connection, told on the thread that works for it.
class IMqttReceiver {
public:
    virtual ~IMqttReceiver() = default;

    virtual void connected() = 0;
    virtual void acknowledged(int number) = 0;
    virtual void received(const SMqttReceived& message) = 0;
    // The broker is there and does not do what it is asked; the connection goes on.
    virtual void refused(const std::string& reason) = 0;
};

// One connection to a broker, over MQTT 5, from its beginning to its end; nothing of it is left for another.
// What is not said otherwise belongs to the thread that works for it.
class CMqttConnection {
public:
    struct SLogin {
        SMqttBroker broker;
        std::string password;
        std::string willTopic; // what the broker tells there, retained, when the connection breaks
        std::string will;
        std::chrono::seconds keepAlive{15};
        int mostUnderWay = 100;
        std::uint32_t largestReceived = 0; // bytes of a packet
    };

    // The receiver must outlive it. Throws std::runtime_error where the library cannot be set up.
    CMqttConnection(const SLogin& login, IMqttReceiver& receiver);
    ~CMqttConnection();
    CMqttConnection(const CMqttConnection&) = delete;
    CMqttConnection& operator=(const CMqttConnection&) = delete;

    // Begins to connect, to the broker's host at this address. Nothing where it has begun, else why it has
    // failed.
    std::optional<std::string> open(const std::string& address);
    // Does what there is to do, and waits for it no longer than this. Nothing while the connection stands or
    // begins, else why it has ended.
    std::optional<std::string> work(std::chrono::milliseconds longest);
    // Says goodbye, upon which there is no last will.
    void leave();

    // Retained messages are told where `withRetained`; what this connection sends is never told.
    void subscribe(const std::string& filter, int quality, bool withRetained);

    // Callable from any thread: under which number the message is sent; nothing where it cannot be.
    std::optional<int> send(const SMqttMessage& message);
    // Callable from any thread: work() returns soon.
    void wake();

private:
    struct SCallbacks; // what the library calls

    void setUp();
    std::string failureText(int result) const;

    const SLogin login_;
    IMqttReceiver& receiver_;
    std::unique_ptr<::mosquitto, void (*)(::mosquitto*)> client_;
    const int wake_;           // an eventfd
    std::string refusal_;      // of the login; empty: none
    std::string libraryError_; // that the library has told last
};

} // namespace corvane::service
