#include "service/mqtt_publisher.h"

#include "refhost/base/log.h"
#include "refhost/base/printable_text.h"
#include "service/host_lookup.h"
#include "service/mqtt_connection.h"
#include "service/mqtt_outbox.h"
#include "service/mqtt_topics.h"
#include "site/base/utc_time.h"
#include "site/session/credentials.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::size_t MostUnderWay = 100;
constexpr std::size_t LongestCall = 64U << 10;
constexpr std::uint32_t LargestPacket = 128U << 10; // a call with its topics
constexpr milliseconds WorkTime{1000};              // the library wants to be asked each second
constexpr std::size_t MostLeftovers = 100'000;
constexpr milliseconds FarewellStep{20};
constexpr int FarewellSteps = 5;

constexpr const char* Online = "online";
constexpr const char* Offline = "offline";

std::string PayloadOf(const ordered_json& json) {
    return refhost::MaskSecrets(refhost::JsonText(json));
}

std::string StateText(const SCameraStatus& camera) {
    ordered_json state{{"state", NameOf(camera.health)}, {"since", site::UtcTimeText(camera.since)}};
    if (camera.problem)
        state["problem"] = site::ProblemObject(*camera.problem);
    return PayloadOf(state);
}

CMqttConnection::SLogin LoginOf(const SMqttOptions& options, const CMqttTopics& topics) {
    CMqttConnection::SLogin login;
    login.broker = options.broker;
    if (options.passwordFile) {
        login.password = site::ReadPassword(*options.passwordFile);
        refhost::AddSecret(login.password);
    }
    login.willTopic = topics.service();
    login.will = Offline;
    login.keepAlive = options.times.keepAlive;
    login.mostUnderWay = static_cast<int>(MostUnderWay);
    login.largestReceived = LargestPacket;
    return login;
}

} // namespace

class CMqttPublisher::CWork : public IMqttReceiver, public std::enable_shared_from_this<CWork> {
public:
    CWork(SMqttOptions options, SMqttCallbacks callbacks)
        : options_(std::move(options)),
          callbacks_(std::move(callbacks)),
          topics_(options_.prefix, options_.service),
          login_(LoginOf(options_, topics_)),
          outbox_(options_.mostEvents) {
        outbox_.retain(topics_.service(), Online);
    }

    void start() {
        thread_ = std::thread([this] { run(); });
    }

    void end() {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            isEnding_ = true;
            outbox_.retainFirst(topics_.service(), Offline);
            sendMore();
            if (connection_)
                connection_->wake();
        }
        lookUp_.giveUp();
        ending_.notify_all();
        if (thread_.joinable())
            thread_.join();
    }

    void keep(const SCameraStatus& camera, const ordered_json& line) {
        const std::lock_guard<std::mutex> lock(mutex_);
        keepTopics(camera);
        if (camera.health != Health::Unknown)
            outbox_.retain(topics_.availability(camera.name),
                           camera.health == Health::Down ? Offline : Online);
        outbox_.retain(topics_.state(camera.name), StateText(camera));
        addEvent(camera.name, line);
        sendMore();
    }

    void tellLevel(const SCameraStatus& camera, const SInputLevel& level, const ordered_json& line) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (level.isActive) {
            const std::string topic = topics_.input(camera.name, level.input);
            if (expected_.count(topic) == 0) // it has not been known that the camera has it
                keepTopics(camera);
            outbox_.retain(topic, *level.isActive ? "active" : "inactive");
        }
        addEvent(camera.name, line);
        sendMore();
    }

    void forget(const std::string& name) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto camera = cameras_.find(name);
        if (camera == cameras_.end())
            return;
        for (const std::string& topic : camera->second)
            empty(topic);
        cameras_.erase(camera);
        sendMore();
    }

    SState state() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return {isConnected_, outbox_.waiting(), outbox_.dropped()};
    }

private:
    // These on the publisher's thread, in CMqttConnection::work().

    void connected() override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            isConnected_ = true;
            sweep_ = steady_clock::now() + options_.times.leftovers;
            outbox_.beginAnew();
            sendMore();
        }
        // Of the best quality that a broker does not cut off where it is much.
        for (const std::string& filter : topics_.retainedFilters())
            connection_->subscribe(filter, 0, true);
        if (options_.takesCalls)
            connection_->subscribe(topics_.callFilter(), 1, false);
        lastProblem_.clear();
        tell("the broker " + options_.broker.text() + " is connected");
    }

    void acknowledged(int number) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        outbox_.acknowledged(number);
        sendMore();
    }

    void refused(const std::string& reason) override { tellProblem(reason); }

    void received(const SMqttReceived& message) override {
        if (const auto camera = topics_.cameraOfCall(message.topic)) {
            if (!message.isRetained && callbacks_.call)
                take(*camera, message);
            return;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        if (sweep_ && message.isRetained && !message.payload.empty() && left_.size() < MostLeftovers)
            left_.insert(message.topic);
    }

    void take(const std::string& camera, const SMqttReceived& message) {
        const auto answer = [work = weak_from_this(), topic = message.responseTopic,
                             correlation = message.correlation](const std::string& text) {
            if (const auto there = work.lock())
                there->answer(topic, correlation, text);
        };
        if (message.payload.size() > LongestCall)
            answer(R"({"error":"the call is longer than 64 KiB"})");
        else
            callbacks_.call(camera, message.payload, answer);
    }

    void answer(const std::string& topic, const std::string& correlation, const std::string& text) {
        if (!topics_.isForAnswers(topic))
            return;
        const std::lock_guard<std::mutex> lock(mutex_);
        outbox_.add({topic, text, false, correlation});
        sendMore();
    }

    // With the lock.

    // Empties those of the camera's topics that it no longer has.
    void keepTopics(const SCameraStatus& camera) {
        std::set<std::string> topics{topics_.availability(camera.name), topics_.state(camera.name)};
        for (const SInputLevel& level : camera.inputs)
            topics.insert(topics_.input(camera.name, level.input));
        if (options_.describesSensors)
            for (const auto& sensor : topics_.discovery(camera, options_.version)) {
                topics.insert(sensor.topic);
                outbox_.retain(sensor.topic, sensor.payload);
            }
        std::set<std::string>& before = cameras_[camera.name];
        for (const std::string& topic : before)
            if (topics.count(topic) == 0)
                empty(topic);
        expected_.insert(topics.begin(), topics.end());
        before = std::move(topics);
    }

    void empty(const std::string& topic) {
        expected_.erase(topic);
        outbox_.retain(topic, "");
    }

    void addEvent(const std::string& camera, const ordered_json& line) {
        if (!line.is_null())
            outbox_.add({topics_.event(camera), PayloadOf(line)});
    }

    void sendMore() {
        while (isConnected_ && outbox_.underWay() < MostUnderWay) {
            auto message = outbox_.next();
            if (!message)
                return;
            if (const auto number = connection_->send(*message))
                outbox_.sent(*number, std::move(*message));
            else if (!message->isRetained) // those are sent with the next connection
                outbox_.drop();
        }
    }

    // The publisher's thread.

    void run() {
        milliseconds retry = options_.times.firstRetry;
        while (!isEnding()) {
            wasConnected_ = false;
            const std::string reason = serve();
            if (isEnding())
                return;
            tellProblem(reason);
            if (wasConnected_)
                retry = options_.times.firstRetry;
            std::unique_lock<std::mutex> lock(mutex_);
            ending_.wait_for(lock, retry, [this] { return isEnding_; });
            retry = std::min(2 * retry, options_.times.longestRetry);
        }
    }

    // One connection, if there comes one; why it has ended.
    std::string serve() {
        const SFoundHost found = lookUp_.find(options_.broker.host);
        if (found.addresses.empty())
            return found.failure;
        try {
            CMqttConnection connection(login_, *this);
            if (auto failure = connection.open(found.addresses[attempts_++ % found.addresses.size()]))
                return *failure;
            setConnection(&connection);
            std::string reason = workFor(connection);
            setConnection(nullptr);
            return reason;
        } catch (const std::runtime_error& failure) {
            return failure.what();
        }
    }

    void setConnection(CMqttConnection* connection) {
        const std::lock_guard<std::mutex> lock(mutex_);
        connection_ = connection;
        wasConnected_ = wasConnected_ || isConnected_;
        isConnected_ = false;
        sweep_.reset();
        left_.clear();
    }

    std::string workFor(CMqttConnection& connection) {
        std::optional<steady_clock::time_point> end;
        for (;;) {
            if (isEnding() && !end)
                end = steady_clock::now() + options_.times.farewell;
            if (end && (isAllTold() || steady_clock::now() >= *end)) {
                takeLeave(connection);
                return {};
            }
            sweepWhenDue();
            if (auto failure = connection.work(end ? FarewellStep : WorkTime))
                return *failure;
        }
    }

    void sweepWhenDue() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!sweep_ || steady_clock::now() < *sweep_)
            return;
        for (const std::string& topic : left_)
            if (expected_.count(topic) == 0)
                outbox_.retain(topic, "");
        left_.clear();
        sweep_.reset();
        sendMore();
    }

    bool isAllTold() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return !isConnected_ || outbox_.waiting() == 0;
    }

    // Without a goodbye, upon which the broker tells the last will, where it does not know yet that this is
    // the end.
    void takeLeave(CMqttConnection& connection) const {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (!isConnected_ || outbox_.isWaiting(topics_.service()))
                return;
        }
        connection.leave();
        for (int step = 0; step < FarewellSteps && !connection.work(FarewellStep); ++step) {
        }
    }

    bool isEnding() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return isEnding_;
    }

    void tell(const std::string& text) const {
        if (callbacks_.tell)
            callbacks_.tell(text);
    }

    void tellProblem(const std::string& reason) {
        if (std::exchange(lastProblem_, reason) != reason)
            tell("the broker " + options_.broker.text() + ": " + reason);
    }

    const SMqttOptions options_;
    const SMqttCallbacks callbacks_;
    const CMqttTopics topics_;
    const CMqttConnection::SLogin login_;
    CHostLookUp lookUp_;
    std::thread thread_;

    // Of the publisher's thread.
    std::string lastProblem_;
    std::size_t attempts_ = 0;
    bool wasConnected_ = false; // since the last attempt began

    mutable std::mutex mutex_; // guards what follows; the library's own locks are taken behind it
    std::condition_variable ending_;
    bool isEnding_ = false;
    bool isConnected_ = false;
    CMqttConnection* connection_ = nullptr; // while there is one
    CMqttOutbox outbox_;
    std::map<std::string, std::set<std::string>> cameras_; // the retained topics of each
    std::set<std::string> expected_;                       // of all of them
    std::set<std::string> left_;                           // what the broker has of this service
    std::optional<steady_clock::time_point> sweep_;        // when what of that nobody expects is emptied
};

CMqttPublisher::CMqttPublisher(SMqttOptions options, SMqttCallbacks callbacks)
    : work_(std::make_shared<CWork>(std::move(options), std::move(callbacks))) {}

CMqttPublisher::~CMqttPublisher() {
    end();
}

void CMqttPublisher::start() {
    work_->start();
}

void CMqttPublisher::end() {
    work_->end();
}

void CMqttPublisher::cameraChanged(const SCameraStatus& camera, const ordered_json& line) {
    work_->keep(camera, line);
}

void CMqttPublisher::inputChanged(const SCameraStatus& camera, const SInputLevel& level,
                                  const ordered_json& line) {
    work_->tellLevel(camera, level, line);
}

void CMqttPublisher::cameraGone(const std::string& name) {
    work_->forget(name);
}

CMqttPublisher::SState CMqttPublisher::state() const {
    return work_->state();
}

} // namespace corvane::service
