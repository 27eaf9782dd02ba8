// vorn_bench: what the plug-in costs, each figure beside a yardstick of the same run.
//
// The workloads, in the order in which they are run:
//
// - fleet: 1,000 cameras (50 in a quick run) brought up one after another and kept in this process: the time
//   until every one has its settings, and threads, descriptors and resident memory a camera
// - start_up: one camera that comes up, from the factory call until it is initialised
// - request: an ordinary request under digest, the first having been made, and its round trips
// - cache_read: GetCameraSetting by one reader, and by eight at once (wall time a read)
// - settings_parse: one settings dump taken into the cache
// - video: the range queries, a stream's synchronisation, and 1,000 cameras (50) checked for drift
// - ptz: the PTZ controller: a command's delay, 10,000 queued ones, taking one back, and 1,000 idle
//   controllers (50)
// - events: alarm inputs: from a change at the camera to its event, 1,000 event streams (50), and attaching
//   and stopping 10,000 times (200)
// - show, show_paced: the start of the program, a full show of a camera of every model, and of one that takes
//   10 ms a reply
// - site: 1,000 cameras (50) checked, synchronised and watched in one command
// - service: 1,000 cameras (50) kept by the service: at rest, its answers, and events as 100 clients hear
// them
// - large, when it is asked for by its name: 10,000 cameras (200) and as many controllers, and what they cost
//   at rest
//
// ./bench starts the simulated cameras and gives the files. An argument that is part of a workload's name
// selects that workload.

#include "benchmarks/report.h"
#include "benchmarks/workloads.h"

#include "refhost/base/process_limits.h"

#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <iostream>

namespace {

using namespace corvane::bench;

constexpr int Failed = 1;

struct SWorkload {
    const char* name;
    void (*registerBenchmarks)(CEnvironment& environment);
};

constexpr SWorkload Workloads[] = {
    {"fleet", RegisterFleet}, // first, since it measures what memory it adds
    {"start_up", RegisterStartUp},     {"request", RegisterRequest},
    {"cache_read", RegisterCacheRead}, {"settings_parse", RegisterSettingsParse},
    {"video", RegisterVideo},          {"ptz", RegisterPtz},
    {"events", RegisterEvents},        {"show", RegisterShow},
    {"show_paced", RegisterPacedShow}, {"site", RegisterSite},
    {"service", RegisterService},
};
// Takes minutes, and more simulated cameras.
constexpr SWorkload LargeWorkload = {"large", RegisterLarge};

constexpr double None = -1;
constexpr bool OfTheMachine = false;
constexpr bool Exact = true;

const std::vector<SFigure> Figures = {
    {"cameras brought up and kept", "fleet:cameras", Unit::Count, "", "", None, Exact},
    {"  time until all have their settings", "fleet", Unit::Seconds,
     "their requests by a plain libcurl client", "fleet:plain", 1.2, OfTheMachine},
    {"  threads a camera", "fleet:threads", Unit::Count, "", "", 1, Exact},
    {"  descriptors a camera", "fleet:descriptors", Unit::Count, "", "", None, Exact},
    {"  resident memory a camera", "fleet:resident", Unit::Bytes, "", "", 100 * 1024, OfTheMachine},
    {"camera coming up", "start_up/plug-in", Unit::Seconds, "its requests by a plain libcurl client",
     "start_up/plain", 0.9, OfTheMachine},
    {"ordinary request under digest", "request/plug-in", Unit::Seconds, "plain libcurl client, kept open",
     "request/plain", 1.2, OfTheMachine},
    {"  round trips", "request/round_trips:each", Unit::Count, "", "", 1, Exact},
    {"cache read, one reader", "cache_read_1/cache", Unit::Seconds, "map look-up under a boost::mutex",
     "cache_read_1/map", 1.0, OfTheMachine},
    {"cache read, eight readers at once", "cache_read_8/cache", Unit::Seconds,
     "map look-up under a boost::mutex", "cache_read_8/map", 1.0, OfTheMachine},
    {"settings dump parsed", "settings_parse/parser", Unit::Seconds, "one memchr pass for an absent byte",
     "settings_parse/memchr", None, OfTheMachine},
    {"  the same", "settings_parse/parser", Unit::Seconds, "a search for each of the 80 keys",
     "settings_parse/plain_rule", 0.15, OfTheMachine},
    {"resolution range", "video_range_resolution/query", Unit::Seconds, "one memmem for its key",
     "video_range_resolution/memmem", 3, OfTheMachine},
    {"frame-rate range", "video_range_frame_rate/query", Unit::Seconds, "one memmem for its key",
     "video_range_frame_rate/memmem", 3, OfTheMachine},
    {"key-frame interval range", "video_range_key_frames/query", Unit::Seconds, "one memmem for its key",
     "video_range_key_frames/memmem", 3, OfTheMachine},
    {"bit-rate range", "video_range_bit_rate/query", Unit::Seconds, "one memmem for its key",
     "video_range_bit_rate/memmem", 3, OfTheMachine},
    {"stream synchronised, camera agrees", "video_sync_agrees", Unit::Seconds, "", "", None, OfTheMachine},
    {"  requests", "video_sync_agrees:requests", Unit::Count, "", "", None, Exact},
    {"stream synchronised, camera differs", "video_sync_differs/plug-in", Unit::Seconds,
     "its requests by a plain libcurl client", "video_sync_differs/plain", 1.2, OfTheMachine},
    {"  requests besides the dump", "video_sync_differs/plug-in:requests", Unit::Count, "", "", 1, Exact},
    {"fleet checked for drift", "video_drift", Unit::Seconds, "", "", None, OfTheMachine},
    {"  requests", "video_drift:requests", Unit::Count, "", "", None, Exact},
    {"start of vornhost (--help)", "show_start/program", Unit::Seconds, "", "", 0.008, OfTheMachine},
    {"  the same", "show_start/program", Unit::Seconds, "start of the curl program (--help)",
     "show_start/curl", None, OfTheMachine},
    {"full show of a camera", "show/program", Unit::Seconds, "its requests by the curl program, and 20 ms",
     "show/curl", 1.5, OfTheMachine},
    {"  that takes 10 ms a reply", "show_paced/program", Unit::Seconds,
     "its requests by the curl program, and 20 ms", "show_paced/curl", 1.5, OfTheMachine},
    {"PTZ command to its first byte at the camera", "ptz_delay/plug-in", Unit::Seconds,
     "plain libcurl client, kept open", "ptz_delay/plain", 1.1, OfTheMachine},
    {"  the 99th of a hundred", "ptz_delay/plug-in:p99", Unit::Seconds, "plain libcurl client, kept open",
     "ptz_delay/plain:p99", None, OfTheMachine},
    {"  the machine's own wake-up of a thread", "ptz_wake_up", Unit::Seconds, "", "", None, OfTheMachine},
    {"PTZ commands queued, each", "ptz_queue/plug-in", Unit::Seconds, "plain libcurl client, kept open",
     "ptz_queue/plain", None, OfTheMachine},
    {"one of 10,000 waiting commands taken back", "ptz_cancel", Unit::Seconds, "", "", None, OfTheMachine},
    {"idle PTZ controllers", "ptz_idle:controllers", Unit::Count, "", "", None, Exact},
    {"  CPU time a minute, all of them", "ptz_idle", Unit::Seconds, "", "", None, OfTheMachine},
    {"  resident memory a controller", "ptz_idle:resident", Unit::Bytes, "", "", None, OfTheMachine},
    {"alarm input's change to its event", "events_delay", Unit::Seconds, "", "", 0.055, OfTheMachine},
    {"  the 99th of a hundred", "events_delay:p99", Unit::Seconds, "", "", 0.120, OfTheMachine},
    {"event streams", "events_fleet:streams", Unit::Count, "", "", None, Exact},
    {"  CPU time a minute, all of them", "events_fleet", Unit::Seconds, "", "", 9, OfTheMachine},
    {"  threads a stream", "events_fleet:threads", Unit::Count, "", "", 2, Exact},
    {"  descriptors a stream", "events_fleet:descriptors", Unit::Count, "", "", None, Exact},
    {"  resident memory a stream", "events_fleet:resident", Unit::Bytes, "", "", 64 * 1024, OfTheMachine},
    {"  events later than a period", "events_fleet:late", Unit::Count, "", "", 0, OfTheMachine},
    {"event stream attached and stopped", "events_churn", Unit::Seconds, "", "", None, OfTheMachine},
    {"  times", "events_churn:times", Unit::Count, "", "", None, Exact},
    {"  threads left over", "events_churn:threads", Unit::Count, "", "", None, Exact},
    {"  descriptors left over", "events_churn:descriptors", Unit::Count, "", "", None, Exact},
    {"  resident memory left over", "events_churn:resident", Unit::Bytes, "", "", None, OfTheMachine},
    {"cameras of a site checked", "site_check:cameras", Unit::Count, "", "", None, Exact},
    {"  time", "site_check", Unit::Seconds, "their requests by plain libcurl clients", "site_check:plain",
     1.3, OfTheMachine},
    {"  requests of a camera", "site_check:requests", Unit::Count, "with one challenge",
     "site_check:plain_requests", None, Exact},
    {"  memory a camera", "site_check:resident", Unit::Bytes, "", "", 100 * 1024, OfTheMachine},
    {"  synchronised, each in one stream", "site_sync", Unit::Seconds,
     "their requests by plain libcurl clients", "site_sync:plain", 1.3, OfTheMachine},
    {"  requests of a camera", "site_sync:requests", Unit::Count, "with one challenge",
     "site_sync:plain_requests", None, Exact},
    {"  checked, a tenth of them dead: the others", "site_dead", Unit::Seconds, "none of them dead",
     "site_dead:alive", None, OfTheMachine},
    {"alarm inputs of a site watched", "site_events_1:inputs", Unit::Count, "", "", None, Exact},
    {"  CPU time a minute", "site_events_1", Unit::Seconds, "the plug-in's own event streams",
     "site_events_1:streams", 1.2, OfTheMachine},
    {"  a change's delay", "site_events_1:delay", Unit::Seconds, "", "", None, OfTheMachine},
    {"  the 99th of a hundred", "site_events_1:p99", Unit::Seconds, "", "", None, OfTheMachine},
    {"three of each camera watched", "site_events_3:inputs", Unit::Count, "", "", None, Exact},
    {"  CPU time a minute", "site_events_3", Unit::Seconds, "the plug-in's own event streams",
     "site_events_3:streams", 1.2, OfTheMachine},
    {"  a change's delay", "site_events_3:delay", Unit::Seconds, "", "", None, OfTheMachine},
    {"  the 99th of a hundred", "site_events_3:p99", Unit::Seconds, "", "", None, OfTheMachine},
    {"cameras kept by the service", "service:cameras", Unit::Count, "", "", None, Exact},
    {"  time until all are known", "service", Unit::Seconds, "", "", None, OfTheMachine},
    {"  resident memory", "service:resident", Unit::Bytes, "", "", None, OfTheMachine},
    {"  threads", "service:threads", Unit::Count, "", "", None, Exact},
    {"  CPU time a minute at rest", "service:rest", Unit::Seconds, "", "", None, OfTheMachine},
    {"  GET /cameras", "service:all", Unit::Seconds, "", "", None, OfTheMachine},
    {"  GET /cameras/NAME", "service:one", Unit::Seconds, "", "", None, OfTheMachine},
    {"  GET /metrics", "service:metrics", Unit::Seconds, "", "", None, OfTheMachine},
    {"  a call", "service:call", Unit::Seconds, "`vornhost script`", "service:callScript", 1.2, OfTheMachine},
    {"  a call to a camera that takes 5 ms", "service:paced", Unit::Seconds, "`vornhost script`",
     "service:pacedScript", 1.2, OfTheMachine},
    {"one input of each camera watched, CPU a minute", "service_events", Unit::Seconds,
     "the plug-in's own event streams", "service_events:streams", 1.2, OfTheMachine},
    {"  a change as the last of 100 clients hears it", "service_events:delay", Unit::Seconds, "", "", None,
     OfTheMachine},
    {"cameras of a large site", "large:cameras", Unit::Count, "", "", None, Exact},
    {"  time to bring one up", "large:large_seconds", Unit::Seconds, "one of the first tenth",
     "large:small_seconds", 1.2, OfTheMachine},
    {"  resident memory a camera", "large:large_bytes", Unit::Bytes, "one of the first tenth",
     "large:small_bytes", 1.2, OfTheMachine},
    {"  time to make a controller", "large:large_controller_seconds", Unit::Seconds, "one of the first tenth",
     "large:small_controller_seconds", 1.2, OfTheMachine},
    {"  resident memory a controller", "large:large_controller_bytes", Unit::Bytes, "one of the first tenth",
     "large:small_controller_bytes", 1.2, OfTheMachine},
    {"  CPU time at rest, one refresh of each", "large:rest", Unit::Seconds,
     "the refreshes by plain libcurl clients", "large:plain", 1.0, OfTheMachine},
    {"  cores in use at rest", "large:share", Unit::Count, "", "", 0.01, OfTheMachine},
};

// The repetitions of a figure and its yardstick take turns, so that a busy moment of the machine meets both.
void InitializeLibrary(bool isQuick) {
    std::string program = "vorn_bench";
    std::string turns = "--benchmark_enable_random_interleaving=true";
    std::string time = std::string("--benchmark_min_time=") + (isQuick ? "0.02" : "0.2");
    char* arguments[] = {program.data(), turns.data(), time.data(), nullptr};
    int count = 3;
    benchmark::Initialize(&count, arguments);
}

std::vector<SWorkload> Selected(const std::string& filter) {
    if (filter == LargeWorkload.name)
        return {LargeWorkload};
    std::vector<SWorkload> selected;
    for (const SWorkload& workload : Workloads)
        if (std::string(workload.name).find(filter) != std::string::npos)
            selected.push_back(workload);
    if (selected.empty())
        throw CFailure("no workload has \"" + filter + "\" in its name");
    return selected;
}

bool Run(CEnvironment& environment, const std::string& filter, bool isForPrograms) {
    CMeasurements measurements;
    for (const SWorkload& workload : Selected(filter)) {
        workload.registerBenchmarks(environment);
        benchmark::RunSpecifiedBenchmarks(&measurements);
        benchmark::ClearRegisteredBenchmarks();
    }
    const std::vector<SResult> results = Judge(Figures, measurements, environment.isQuick());
    isForPrograms ? PrintJson(results) : PrintTable(results);
    return std::all_of(results.begin(), results.end(),
                       [](const SResult& one) { return one.holds || !one.counts; });
}

} // namespace

int main(int argc, char** argv) {
    bool isQuick = false;
    bool isForPrograms = false;
    std::string filter, plugin, models, simulator, everyModel, program;
    CLI::App app("What the plug-in costs, each figure beside its yardstick");
    app.add_flag("--quick", isQuick, "Rough figures; goals that depend on the machine do not count");
    app.add_flag("--json", isForPrograms, "A line of JSON for each figure");
    app.add_option("filter", filter, "Part of the names of the workloads to run");
    app.add_option("--plugin", plugin, "The plug-in's shared library")->required();
    app.add_option("--models", models, "The model list")->required();
    app.add_option("--simulator", simulator, "File with the ready line of the camera simulator")->required();
    app.add_option("--every-model", everyModel, "Likewise of one with a camera of each shipped model")
        ->required();
    app.add_option("--program", program, "vornhost")->required();
    CLI11_PARSE(app, argc, argv);

    corvane::refhost::PrepareForManyCameras();
    InitializeLibrary(isQuick);
    try {
        CEnvironment environment(isQuick, plugin, models, simulator);
        environment.setEveryModel(everyModel, program);
        return Run(environment, filter, isForPrograms) ? 0 : Failed;
    } catch (const std::exception& failure) {
        std::cerr << "vorn_bench: " << failure.what() << "\n";
        return Failed;
    }
}
