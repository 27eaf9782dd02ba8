#include "service/mqtt_connection.h"

#include <mosquitto.h>
#include <mqtt_protocol.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace corvane::service {
namespace {

constexpr int FirstRefusal = 128; // of MQTT 5's reason codes

class CProperties {
public:
    CProperties() = default;
    CProperties(const CProperties&) = delete;
    CProperties& operator=(const CProperties&) = delete;
    ~CProperties() { ::mosquitto_property_free_all(&list_); }

    void addBytes(int which, const std::string& bytes) {
        (void)::mosquitto_property_add_binary(&list_, which, bytes.data(),
                                              static_cast<std::uint16_t>(bytes.size()));
    }
    void addNumber(int which, std::uint32_t number) {
        (void)::mosquitto_property_add_int32(&list_, which, number);
    }
    const mosquitto_property* list() const { return list_; }

private:
    mosquitto_property* list_ = nullptr;
};

std::string TextProperty(const mosquitto_property* list, int which) {
    char* text = nullptr;
    (void)::mosquitto_property_read_string(list, which, &text, false);
    const std::unique_ptr<char, void (*)(void*)> owner(text, &std::free);
    return text ? text : "";
}

std::string BytesProperty(const mosquitto_property* list, int which) {
    void* bytes = nullptr;
    std::uint16_t size = 0;
    (void)::mosquitto_property_read_binary(list, which, &bytes, &size, false);
    const std::unique_ptr<void, void (*)(void*)> owner(bytes, &std::free);
    return bytes ? std::string(static_cast<const char*>(bytes), size) : "";
}

// The old numbers are those of brokers that do not speak MQTT 5.
std::string ReasonText(int code) {
    return code >= FirstRefusal ? ::mosquitto_reason_string(code) : ::mosquitto_connack_string(code);
}

int MakeWaker() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category());
    return descriptor;
}

::mosquitto* MakeClient(void* context) {
    static const int ready = ::mosquitto_lib_init();
    return ready == MOSQ_ERR_SUCCESS ? ::mosquitto_new(nullptr, true, context) : nullptr;
}

void Require(int result) {
    if (result != MOSQ_ERR_SUCCESS)
        throw std::runtime_error(std::string("the connection to the broker cannot be set up: ") +
                                 ::mosquitto_strerror(result));
}

} // namespace

struct CMqttConnection::SCallbacks {
    static CMqttConnection& of(void* context) { return *static_cast<CMqttConnection*>(context); }

    static void connected(::mosquitto*, void* context, int code, int, const mosquitto_property*) {
        if (code == 0)
            of(context).receiver_.connected();
        else
            of(context).refusal_ = ReasonText(code);
    }
    static void published(::mosquitto*, void* context, int number, int code, const mosquitto_property*) {
        of(context).receiver_.acknowledged(number);
        if (code >= FirstRefusal)
            of(context).receiver_.refused("it does not take messages of this service: " + ReasonText(code));
    }
    static void subscribed(::mosquitto*, void* context, int, int count, const int* codes,
                           const mosquitto_property*) {
        for (int i = 0; i < count; ++i)
            if (codes[i] >= FirstRefusal)
                of(context).receiver_.refused("it does not let this service subscribe: " +
                                              ReasonText(codes[i]));
    }
    static void received(::mosquitto*, void* context, const ::mosquitto_message* message,
                         const mosquitto_property* properties) {
        SMqttReceived one;
        one.topic = message->topic;
        one.payload.assign(static_cast<const char*>(message->payload),
                           static_cast<std::size_t>(message->payloadlen));
        one.isRetained = message->retain;
        one.responseTopic = TextProperty(properties, MQTT_PROP_RESPONSE_TOPIC);
        one.correlation = BytesProperty(properties, MQTT_PROP_CORRELATION_DATA);
        of(context).receiver_.received(one);
    }
    static void told(::mosquitto*, void* context, int level, const char* text) {
        if (level == MOSQ_LOG_ERR)
            of(context).libraryError_ = text;
    }
};

CMqttConnection::CMqttConnection(const SLogin& login, IMqttReceiver& receiver)
    : login_(login),
      receiver_(receiver),
      client_(MakeClient(this), &::mosquitto_destroy),
      wake_(MakeWaker()) {
    try {
        setUp();
    } catch (...) {
        ::close(wake_);
        throw;
    }
}

CMqttConnection::~CMqttConnection() {
    client_.reset();
    ::close(wake_);
}

void CMqttConnection::setUp() {
    ::mosquitto* const client = client_.get();
    Require(client ? MOSQ_ERR_SUCCESS : MOSQ_ERR_NOMEM);
    Require(::mosquitto_threaded_set(client, true));
    Require(::mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5));
    Require(::mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1));
    Require(::mosquitto_int_option(client, MOSQ_OPT_SEND_MAXIMUM, login_.mostUnderWay));
    if (!login_.broker.user.empty())
        Require(::mosquitto_username_pw_set(client, login_.broker.user.c_str(), login_.password.c_str()));
    if (login_.broker.isTls)
        Require(::mosquitto_int_option(client, MOSQ_OPT_TLS_USE_OS_CERTS, 1));
    Require(::mosquitto_will_set(client, login_.willTopic.c_str(), static_cast<int>(login_.will.size()),
                                 login_.will.data(), 1, true));
    ::mosquitto_connect_v5_callback_set(client, &SCallbacks::connected);
    ::mosquitto_publish_v5_callback_set(client, &SCallbacks::published);
    ::mosquitto_subscribe_v5_callback_set(client, &SCallbacks::subscribed);
    ::mosquitto_message_v5_callback_set(client, &SCallbacks::received);
    ::mosquitto_log_callback_set(client, &SCallbacks::told);
}

std::optional<std::string> CMqttConnection::open(const std::string& address) {
    const int keepAlive = static_cast<int>(login_.keepAlive.count());
    CProperties properties;
    properties.addNumber(MQTT_PROP_MAXIMUM_PACKET_SIZE, login_.largestReceived);
    // Only the call that waits for its connection takes properties, and the one that does not wait goes on
    // with them: so it is let fail at a socket that there is not.
    (void)::mosquitto_connect_bind_v5(client_.get(), "/nowhere", 0, keepAlive, nullptr, properties.list());
    // A certificate is the name's, and not the address's.
    const std::string& host = login_.broker.isTls ? login_.broker.host : address;
    const int result = ::mosquitto_connect_async(client_.get(), host.c_str(), login_.broker.port, keepAlive);
    if (result != MOSQ_ERR_SUCCESS)
        return failureText(result);
    return std::nullopt;
}

std::optional<std::string> CMqttConnection::work(std::chrono::milliseconds longest) {
    ::mosquitto* const client = client_.get();
    // Not mosquitto_loop(), which cannot wait for a descriptor beyond 1023, and a site has more.
    const auto events = static_cast<short>(POLLIN | (::mosquitto_want_write(client) ? POLLOUT : 0));
    pollfd watched[] = {{::mosquitto_socket(client), events, 0}, {wake_, POLLIN, 0}};
    (void)::poll(watched, 2, static_cast<int>(longest.count()));
    std::uint64_t count = 0;
    (void)!::read(wake_, &count, sizeof count);
    int result = MOSQ_ERR_SUCCESS;
    errno = 0;
    if ((watched[0].revents & ~POLLOUT) != 0)
        result = ::mosquitto_loop_read(client, 1);
    if (result == MOSQ_ERR_SUCCESS && ((watched[0].revents & POLLOUT) != 0 || ::mosquitto_want_write(client)))
        result = ::mosquitto_loop_write(client, 1);
    if (result == MOSQ_ERR_SUCCESS)
        result = ::mosquitto_loop_misc(client);
    if (result == MOSQ_ERR_SUCCESS && ::mosquitto_socket(client) < 0)
        result = MOSQ_ERR_CONN_LOST;
    if (result != MOSQ_ERR_SUCCESS)
        return failureText(result);
    return std::nullopt;
}

std::string CMqttConnection::failureText(int result) const {
    if (!refusal_.empty())
        return refusal_;
    if (result == MOSQ_ERR_ERRNO && errno != 0)
        return std::generic_category().message(errno);
    const std::string text = ::mosquitto_strerror(result);
    return result == MOSQ_ERR_TLS && !libraryError_.empty() ? text + " " + libraryError_ : text;
}

void CMqttConnection::leave() {
    (void)::mosquitto_disconnect_v5(client_.get(), 0, nullptr);
    wake();
}

void CMqttConnection::subscribe(const std::string& filter, int quality, bool withRetained) {
    const int options = MQTT_SUB_OPT_NO_LOCAL | MQTT_SUB_OPT_RETAIN_AS_PUBLISHED |
                        (withRetained ? MQTT_SUB_OPT_SEND_RETAIN_ALWAYS : MQTT_SUB_OPT_SEND_RETAIN_NEVER);
    (void)::mosquitto_subscribe_v5(client_.get(), nullptr, filter.c_str(), quality, options, nullptr);
}

std::optional<int> CMqttConnection::send(const SMqttMessage& message) {
    CProperties properties;
    if (!message.correlation.empty())
        properties.addBytes(MQTT_PROP_CORRELATION_DATA, message.correlation);
    int number = 0;
    const int result = ::mosquitto_publish_v5(
        client_.get(), &number, message.topic.c_str(), static_cast<int>(message.payload.size()),
        message.payload.data(), 1, message.isRetained, properties.list());
    if (result != MOSQ_ERR_SUCCESS)
        return std::nullopt;
    wake();
    return number;
}

void CMqttConnection::wake() {
    const std::uint64_t one = 1;
    (void)!::write(wake_, &one, sizeof one);
}

} // namespace corvane::service
