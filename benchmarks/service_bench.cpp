// A site of 1,000 cameras (50 in a quick run) kept by the service: the time until each is known, what it uses
// at rest without watched inputs and with one of each camera, beside as many of the plug-in's own event
// streams; its answers; a change of an input as one of 100 clients hears it; a call beside the same call in a
// script.

#include "benchmarks/event_stream.h"
#include "benchmarks/manual_benchmark.h"
#include "benchmarks/process_use.h"
#include "benchmarks/program_run.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

namespace corvane::bench {

namespace {

using benchmark::State;
using nlohmann::json;

constexpr int EventClients = 100;
constexpr const char* AskedPath = "/cgi-bin/getinfo"; // answered by a few bytes

std::size_t Append(char* data, std::size_t size, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
}

// One connection to the service, kept.
class CServiceClient {
public:
    CServiceClient(std::string base, const std::string& token)
        : base_(std::move(base)), curl_(curl_easy_init()) {
        headers_ = curl_slist_append(nullptr, ("Authorization: Bearer " + token).c_str());
        headers_ = curl_slist_append(headers_, "Content-Type: application/json");
        curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers_);
        curl_easy_setopt(curl_, CURLOPT_PROXY, "");
        curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &Append);
    }
    ~CServiceClient() {
        curl_easy_cleanup(curl_);
        curl_slist_free_all(headers_);
    }
    CServiceClient(const CServiceClient&) = delete;
    CServiceClient& operator=(const CServiceClient&) = delete;

    std::string get(const std::string& path) { return perform(path, nullptr); }
    std::string post(const std::string& path, const std::string& body) { return perform(path, &body); }

    // Until `write` does not take any more.
    void follow(const std::string& path, curl_write_callback write, void* to) {
        curl_easy_setopt(curl_, CURLOPT_URL, (base_ + path).c_str());
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, write);
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, to);
        curl_easy_perform(curl_);
    }

private:
    std::string perform(const std::string& path, const std::string* body) {
        std::string text;
        curl_easy_setopt(curl_, CURLOPT_URL, (base_ + path).c_str());
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &text);
        curl_easy_setopt(curl_, body ? CURLOPT_POST : CURLOPT_HTTPGET, 1L);
        if (body)
            curl_easy_setopt(curl_, CURLOPT_COPYPOSTFIELDS, body->c_str());
        long status = 0;
        if (curl_easy_perform(curl_) != CURLE_OK ||
            curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK || status / 100 != 2)
            throw CFailure("service: " + path + ": " + std::to_string(status) + " " + text);
        return text;
    }

    const std::string base_;
    CURL* const curl_;
    curl_slist* headers_ = nullptr;
};

// A service of some cameras, which ends with this.
class CServed {
public:
    CServed(const CEnvironment& environment, const std::vector<std::string>& addresses, int inputs)
        : folder_(
              (std::filesystem::temp_directory_path() / ("vorn-bench-service-" + std::to_string(::getpid())))
                  .string()) {
        std::filesystem::create_directories(folder_);
        json site{{"cameras", json::array()}};
        site["defaults"] = {{"inputs", json::array()}};
        for (int input = 0; input < inputs; ++input)
            site["defaults"]["inputs"].push_back(input);
        for (std::size_t i = 0; i < addresses.size(); ++i)
            site["cameras"].push_back({{"name", std::to_string(i)},
                                       {"address", addresses[i]},
                                       {"model", CEnvironment::UsualModel}});
        std::ofstream(folder_ + "/site.json") << site;
        std::string line;
        const std::string tokens = folder_ + "/tokens.json";
        std::filesystem::remove(tokens);
        CProgramRun add({environment.program(), "token", "add", "bench", "--role", "admin", "--token-file",
                         tokens, "--json"});
        if (!add.readLine(line))
            throw CFailure("no token was made");
        token_ = json::parse(line).at("token");
        (void)add.wait();
        watch_ = std::make_unique<CStopwatch>();
        program_ = std::make_unique<CProgramRun>(
            std::vector<std::string>{environment.program(), "serve", folder_ + "/site.json", "--listen",
                                     "127.0.0.1:0", "--token-file", tokens});
        if (!program_->readLine(line))
            throw CFailure("the service did not start");
        base_ = json::parse(line).at("listening").at(0).get<std::string>() + "/api/v1";
    }
    ~CServed() {
        program_->interrupt();
        (void)program_->wait();
        std::error_code none;
        std::filesystem::remove_all(folder_, none);
    }
    CServed(const CServed&) = delete;
    CServed& operator=(const CServed&) = delete;

    std::unique_ptr<CServiceClient> client() const { return std::make_unique<CServiceClient>(base_, token_); }
    double cpuSeconds() const { return program_->cpuSeconds(); }

    // From the start; throws CFailure when they are not all up.
    double secondsUntilKnown(CServiceClient& client, std::size_t cameras) const {
        for (;;) {
            const json states = json::parse(client.get("/site")).at("states");
            if (states.at("unknown") == 0 && states.at("up") == cameras)
                return watch_->seconds();
            if (states.at("unknown") == 0)
                throw CFailure("service: " + states.dump());
            std::this_thread::sleep_for(std::chrono::milliseconds(20)); // a look that costs little
        }
    }

private:
    const std::string folder_;
    std::unique_ptr<CStopwatch> watch_;
    std::string token_;
    std::string base_;
    std::unique_ptr<CProgramRun> program_;
};

double MetricOf(const std::string& text, const std::string& name) {
    const std::size_t at = text.find("\n" + name + " ");
    return at == std::string::npos ? 0 : std::stod(text.substr(at + name.size() + 2));
}

double MedianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <class Work>
double MedianSeconds(int times, Work work) {
    std::vector<double> seconds;
    for (int i = 0; i < times; ++i) {
        const CStopwatch watch;
        work();
        seconds.push_back(watch.seconds());
    }
    return MedianOf(std::move(seconds));
}

// What a call of a script takes that asks the camera, from the first answer to the last.
double SecondsInScript(const CEnvironment& environment, const std::string& address, int times) {
    const std::string file =
        std::filesystem::temp_directory_path() / ("vorn-bench-script-" + std::to_string(::getpid()));
    {
        std::ofstream script(file);
        for (int i = 0; i <= times; ++i)
            script << "setting.CameraHttpGet " << AskedPath << " 4\n";
    }
    CProgramRun program({"/bin/sh", "-c", R"(exec "$0" --model "$1" script "$2" < "$3")",
                         environment.program(), CEnvironment::UsualModel, address, file});
    std::string answer;
    program.readLine(answer);
    const CStopwatch watch;
    int answers = 0;
    while (program.readLine(answer))
        ++answers;
    const double seconds = watch.seconds();
    std::filesystem::remove(file);
    if (program.wait().status != 0 || answers != times)
        throw CFailure("script: " + answer);
    return seconds / times;
}

// CPU seconds a minute.
double AtRest(const CServed& served, std::chrono::duration<double> span) {
    const double before = served.cpuSeconds();
    std::this_thread::sleep_for(span); // what is measured is time in which nothing changes
    return (served.cpuSeconds() - before) * 60 / span.count();
}

using Addresses = std::vector<std::string>;

void MeasureService(State& state, CEnvironment& environment, const Addresses& addresses) {
    const CServed served(environment, addresses, 0);
    const auto client = served.client();
    state.SetIterationTime(served.secondsUntilKnown(*client, addresses.size()));
    std::this_thread::sleep_for(std::chrono::seconds(environment.choose(15, 1))); // until all has settled
    state.counters["rest"] = AtRest(served, std::chrono::seconds(environment.choose(30, 2)));
    const std::string metrics = client->get("/metrics");
    state.counters["cameras"] = static_cast<double>(addresses.size());
    state.counters["resident"] = MetricOf(metrics, "process_resident_memory_bytes");
    state.counters["threads"] = MetricOf(metrics, "process_threads");
    state.counters["all"] = MedianSeconds(20, [&] { (void)client->get("/cameras"); });
    state.counters["one"] = MedianSeconds(20, [&] { (void)client->get("/cameras/0"); });
    state.counters["metrics"] = MedianSeconds(5, [&] { (void)client->get("/metrics"); });
    const json call{{"operation", "setting.CameraHttpGet"}, {"arguments", {AskedPath, "4"}}};
    constexpr int Calls = 500;
    const auto measure = [&](const std::string& name) {
        const CStopwatch watch;
        for (int i = 0; i < Calls; ++i)
            (void)client->post("/cameras/0/calls", call.dump());
        state.counters[name] = watch.seconds() / Calls;
        state.counters[name + "Script"] = SecondsInScript(environment, addresses.front(), Calls);
    };
    measure("call");
    const CSimulatedCameras& cameras = environment.cameras();
    cameras.control("POST", "/faults", json{{"path", AskedPath}, {"kind", "delay"}, {"ms", 5}}.dump());
    measure("paced");
    cameras.control("DELETE", "/faults", "");
}

// Who hears the changes of one camera's input.
struct SListeners {
    std::mutex mutex; // guards what follows
    std::condition_variable changed;
    std::size_t heard = 0;
    bool isEnded = false;
};

std::size_t TakeEvents(char* data, std::size_t size, std::size_t count, void* to) {
    auto& listeners = *static_cast<SListeners*>(to);
    const std::string text(data, size * count);
    const std::lock_guard<std::mutex> lock(listeners.mutex);
    for (std::size_t at = text.find("event: input"); at != std::string::npos;
         at = text.find("event: input", at + 1))
        ++listeners.heard;
    listeners.changed.notify_all();
    return listeners.isEnded ? 0 : size * count;
}

double CpuOfStreams(const CEnvironment& environment, const Addresses& addresses,
                    std::chrono::duration<double> span) {
    std::vector<boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera>> cameras;
    std::vector<std::unique_ptr<CEventStream>> streams;
    for (const std::string& address : addresses) {
        cameras.push_back(environment.bringUp(environment.makeContext(address), address));
        streams.push_back(std::make_unique<CEventStream>(*cameras.back(), 0));
    }
    for (const auto& stream : streams)
        stream->waitForAny();
    const double before = ProcessUse().cpuSeconds;
    std::this_thread::sleep_for(span); // likewise
    return (ProcessUse().cpuSeconds - before) * 60 / span.count();
}

void MeasureEvents(State& state, CEnvironment& environment, const Addresses& addresses) {
    const std::chrono::seconds span(environment.choose(30, 2));
    {
        const CServed served(environment, addresses, 1);
        const auto client = served.client();
        (void)served.secondsUntilKnown(*client, addresses.size());
        std::this_thread::sleep_for(std::chrono::seconds(environment.choose(15, 1))); // until all has settled
        state.SetIterationTime(AtRest(served, span));
        SListeners listeners;
        std::vector<std::thread> threads;
        for (int i = 0; i < EventClients; ++i)
            threads.emplace_back([&] { served.client()->follow("/events?only=0", &TakeEvents, &listeners); });
        const double expected = EventClients;
        while (MetricOf(client->get("/metrics"), "vornhost_event_clients") < expected)
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // until all are there
        state.counters["delay"] = MedianSeconds(environment.choose(50, 10), [&, level = 0]() mutable {
            std::unique_lock<std::mutex> lock(listeners.mutex);
            listeners.heard = 0;
            lock.unlock();
            environment.cameras().setInput(addresses.front(), 1, level++ % 2 == 0 ? "Low" : "High");
            lock.lock();
            listeners.changed.wait(lock, [&] { return listeners.heard >= EventClients; });
        });
        {
            const std::lock_guard<std::mutex> lock(listeners.mutex);
            listeners.isEnded = true;
        }
        environment.cameras().setInput(addresses.front(), 1, "Low");
        environment.cameras().setInput(addresses.front(), 1, "High");
        for (std::thread& thread : threads)
            thread.join();
    }
    state.counters["streams"] = CpuOfStreams(environment, addresses, span);
}

} // namespace

void RegisterService(CEnvironment& environment) {
    const auto addresses = std::make_shared<Addresses>();
    for (int i = 0; i < environment.choose(1000, 50); ++i)
        addresses->push_back(environment.cameras().takeFresh());
    RegisterManual("service",
                   [=, &environment](State& state) { MeasureService(state, environment, *addresses); });
    RegisterManual("service_events",
                   [=, &environment](State& state) { MeasureEvents(state, environment, *addresses); });
}

} // namespace corvane::bench
