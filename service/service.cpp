#include "service/service.h"

#include "refhost/base/process_limits.h"
#include "service/access.h"
#include "service/api.h"
#include "service/event_hub.h"
#include "service/http_server.h"
#include "service/kept_site.h"
#include "service/mqtt_call.h"
#include "service/mqtt_publisher.h"
#include "service/notifier.h"
#include "service/observers.h"
#include "service/page_files.h"
#include "service/state_directory.h"
#include "service/tls_files.h"
#include "site/base/json_line.h"
#include "site/base/standard_streams.h"
#include "site/session/loaded_plugin.h"
#include "site/text_file.h"

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <filesystem>
#include <future>
#include <thread>

namespace corvane::service {
namespace {

using nlohmann::ordered_json;
using site::CFailure;
using site::ExitStatus;
using site::OwnCause;

constexpr std::chrono::milliseconds Tick{250};
constexpr std::chrono::milliseconds LongestEnd{1'200}; // of what cameras are still asked
constexpr int HighestPort = 65535;

// The text was told as one piece from the service.
void Tell(const std::string& text) {
    site::WriteMessage("vornhost: serve: " + text + "\n");
}

SListenAddress ParseListen(const std::string& text) {
    const std::size_t colon = text.rfind(':');
    std::string host = text.substr(0, colon == std::string::npos ? 0 : colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    const std::string digits = colon == std::string::npos ? "" : text.substr(colon + 1);
    const bool isNumber =
        !digits.empty() && digits.size() <= 5 && digits.find_first_not_of("0123456789") == std::string::npos;
    const int port = isNumber ? std::stoi(digits) : -1;
    if (host.empty() || port < 0 || port > HighestPort)
        throw CFailure(ExitStatus::WrongUsage, "wrong --listen \"" + text + "\": expected ADDRESS:PORT");
    return {host, static_cast<std::uint16_t>(port)};
}

std::vector<SListenAddress> ListenAddresses(const SServeOptions& options) {
    std::vector<SListenAddress> all;
    for (const std::string& text : options.listen)
        all.push_back(ParseListen(text));
    if (all.empty())
        all.push_back(ParseListen(UsualListen));
    for (const SListenAddress& one : all)
        if (!one.isLoopback() && options.tlsCertificate.empty())
            throw CFailure(ExitStatus::WrongUsage,
                           one.text() +
                               " can be reached from other machines, which needs TLS: give --tls-cert "
                               "and --tls-key, or listen at 127.0.0.1 behind a reverse proxy");
    return all;
}

// The file of the tokens, and the token that was made because there was none.
struct STokens {
    std::string file;
    std::string made;
};

STokens OpenTokens(const SServeOptions& options, const std::string& state) {
    if (!options.tokenFile.empty())
        return {options.tokenFile, ""};
    STokens tokens{TokenFileIn(state), ""};
    std::error_code ignored;
    if (!std::filesystem::exists(tokens.file, ignored)) {
        MakeStateDirectory(state);
        tokens.made = AddToken(tokens.file, "first", Role::Admin);
    }
    return tokens;
}

// All that runs, each on what stands above it.
class CService {
public:
    CService(const site::SOptions& options, const SServeOptions& serveOptions, std::string version)
        : serveOptions_(serveOptions),
          version_(std::move(version)),
          name_(serveOptions.name.empty() ? std::filesystem::path(serveOptions.site).stem().string()
                                          : serveOptions.name),
          state_(serveOptions.state.empty() ? UsualStateDirectory() : serveOptions.state),
          files_(site::SharedPath("service"), !serveOptions.noPage) {
        const auto addresses = ListenAddresses(serveOptions);
        const STlsFiles tls = ReadTlsFiles(serveOptions.tlsCertificate, serveOptions.tlsKey);
        makeMqtt();
        std::vector<ISiteObserver*> observers{&hub_};
        if (mqtt_)
            observers.push_back(mqtt_.get());
        observers_ = std::make_unique<CObservers>(std::move(observers));
        SSiteTimes times;
        times.drift =
            std::chrono::milliseconds(static_cast<std::int64_t>(serveOptions.driftMinutes * 60'000));
        site_ = std::make_unique<CKeptSite>(options, serveOptions.site, *observers_, times);
        tokens_ = OpenTokens(serveOptions, state_);
        access_ = std::make_unique<CAccess>(
            SAccessRules{tokens_.file, hosts(addresses), serveOptions.hosts, !tls.certificate.empty()});
        api_ = std::make_unique<CApi>(parts(options));
        try {
            server_ = std::make_unique<CHttpServer>(
                addresses, tls, [this](SHttpRequest request, const CHttpServer::Answer& answer) {
                    api_->handle(std::move(request), answer);
                });
        } catch (const CHttpServerError& error) {
            throw CFailure(ExitStatus::NotStarted, error.what(), OwnCause::Limit);
        }
    }

    void start() {
        site_->start();
        if (mqtt_)
            mqtt_->start();
        ordered_json line{{"listening", ordered_json::array()}, {"cameras", site_->cameras().size()}};
        const std::string scheme = serveOptions_.tlsCertificate.empty() ? "http://" : "https://";
        for (const SListenAddress& one : server_->addresses())
            line["listening"].push_back(scheme + one.text());
        if (!tokens_.made.empty())
            Tell("open " + line["listening"].front().get<std::string>() + "/#token=" + tokens_.made +
                 " (this is told once; `vornhost token` makes others)");
        site::WriteOutput(site::JsonLine(line));
        notifier_.ready(status());
    }

    // Until `isEnded`.
    void run(const std::atomic<bool>& isEnded) {
        sigset_t hangUp;
        sigemptyset(&hangUp);
        sigaddset(&hangUp, SIGHUP);
        const timespec wait{0, std::chrono::nanoseconds(Tick).count()};
        auto nextWake = std::chrono::steady_clock::now();
        auto nextAlive = nextWake;
        const auto alivePeriod = notifier_.alivePeriod();
        while (!isEnded) {
            if (sigtimedwait(&hangUp, nullptr, &wait) == SIGHUP)
                reload();
            site_->tick();
            const auto now = std::chrono::steady_clock::now();
            if (now >= nextWake) { // heartbeats are due by and by
                hub_.wake();
                nextWake = now + std::chrono::seconds(1);
            }
            if (alivePeriod && now >= nextAlive) {
                notifier_.alive();
                nextAlive = now + *alivePeriod;
            }
        }
    }

    void reload() {
        notifier_.reloading();
        try {
            site_->reload();
            hub_.add("site", "", "{}");
        } catch (const CFailure& failure) {
            Tell(std::string("the site stays as it was: ") + failure.what());
        }
        notifier_.ready(status());
    }

    // Clients and broker first; what cameras are asked may take its time.
    void end() {
        notifier_.stopping();
        if (mqtt_)
            mqtt_->end();
        server_.reset();
        site_->end();
    }

private:
    static std::vector<std::string> hosts(const std::vector<SListenAddress>& addresses) {
        std::vector<std::string> all{"localhost"};
        for (const SListenAddress& one : addresses)
            all.push_back(one.host);
        return all;
    }

    std::string status() const {
        return std::to_string(site_->cameras().size()) + " cameras of " + site_->file();
    }

    void makeMqtt() {
        if (serveOptions_.mqtt.empty())
            return;
        SMqttOptions options;
        options.broker = ParseMqttUrl(serveOptions_.mqtt);
        options.passwordFile = serveOptions_.mqttPasswordFile;
        options.prefix = serveOptions_.mqttPrefix;
        options.service = name_;
        options.takesCalls = serveOptions_.mqttCalls;
        options.describesSensors = serveOptions_.mqttDiscovery;
        options.version = version_;
        SMqttCallbacks callbacks;
        callbacks.tell = [](const std::string& text) { Tell(text); };
        callbacks.call = [this](const std::string& camera, const std::string& payload,
                                const SMqttCallbacks::Answer& answer) {
            site_->calls().add(
                [this, camera, payload, answer] { answer(AnswerMqttCall(*site_, camera, payload)); });
        };
        mqtt_ = std::make_unique<CMqttPublisher>(std::move(options), std::move(callbacks));
    }

    SApiParts parts(const site::SOptions& options) {
        site::SOptions json = options;
        json.json = true;
        std::vector<std::string> doctor = json.arguments();
        doctor.insert(doctor.end(), {"doctor", "--site", site_->file()});
        SApiParts parts{*site_,   hub_,   *access_,          files_,  name_,
                        version_, state_, std::move(doctor), nullptr, nullptr};
        if (mqtt_)
            parts.mqtt = [this]() -> std::optional<SMetricsInput::SMqtt> {
                const auto state = mqtt_->state();
                return SMetricsInput::SMqtt{state.isConnected, state.waiting};
            };
        parts.reload = [this] { reload(); };
        return parts;
    }

    const SServeOptions serveOptions_;
    const std::string version_;
    const std::string name_;
    const std::string state_;
    const CPageFiles files_;
    const CNotifier notifier_{};
    CEventHub hub_;
    std::unique_ptr<CMqttPublisher> mqtt_;
    std::unique_ptr<CObservers> observers_;
    std::unique_ptr<CKeptSite> site_;
    STokens tokens_;
    std::unique_ptr<CAccess> access_;
    std::unique_ptr<CApi> api_;
    std::unique_ptr<CHttpServer> server_; // ends first
};

} // namespace

ExitStatus Serve(const site::SOptions& options, const SServeOptions& serveOptions, const OnEnd& onEnd,
                 const std::string& version) {
    refhost::PrepareForManyCameras();
    const auto isEnded = std::make_shared<std::atomic<bool>>(false);
    std::unique_ptr<CService> service;
    try {
        service = std::make_unique<CService>(options, serveOptions, version);
    } catch (const site::CFileError& error) {
        throw CFailure(ExitStatus::WrongUsage, error.what(), OwnCause::WrongFile);
    }
    onEnd([isEnded] { *isEnded = true; });
    service->start();
    service->run(*isEnded);
    std::promise<void> done;
    const auto ended = done.get_future();
    std::thread ending([&] {
        service->end();
        done.set_value();
    });
    // A camera that does not answer may hold a request for longer than anybody waits for a service.
    if (ended.wait_for(LongestEnd) == std::future_status::timeout)
        site::EndProcess(ExitStatus::Success);
    ending.join();
    return ExitStatus::Success;
}

} // namespace corvane::service
