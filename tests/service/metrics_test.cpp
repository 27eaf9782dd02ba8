#include "service/metrics.h"

#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fcntl.h>
#include <set>
#include <sstream>
#include <thread>

namespace corvane::service {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

std::set<std::string> SamplesOf(const std::string& text) {
    std::set<std::string> samples;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (line[0] != '#')
            samples.insert(line);
    return samples;
}

Time At(std::chrono::milliseconds sinceEpoch) {
    return Time(sinceEpoch);
}

SInputLevel Level(int input, std::optional<bool> isActive, std::uint64_t changes) {
    SInputLevel level;
    level.input = input;
    level.isActive = isActive;
    level.changes = changes;
    return level;
}

// Values that are all different.
SMetricsInput Input() {
    SMetricsInput input;
    input.version = "9.8.7";
    input.now = At(5'000'250ms);
    input.eventClients = 31;
    input.mqtt = {true, 32};
    input.process = {33.5, 34, 35, 36, 37, 38.25, 39};
    SCameraStatus gate;
    gate.name = "gate";
    gate.health = Health::Degraded;
    gate.lastSuccess = At(4'000'125ms);
    gate.settings = At(4'999'000ms);
    gate.requests = {41, 42};
    gate.drift.state = DriftState::Differs;
    gate.drift.differences.resize(3);
    gate.drift.ignored = 7;
    gate.inputs = {Level(0, true, 43), Level(5, false, 44), Level(6, std::nullopt, 45)};
    SCameraStatus hall;
    hall.name = "hall";
    hall.health = Health::Down;
    hall.requests = {46, 47};
    hall.drift.state = DriftState::Fault;
    SCameraStatus tower;
    tower.name = "tower";
    tower.drift.state = DriftState::Same;
    tower.requests = {48, 49};
    input.cameras = {gate, hall, tower};
    auto& times = input.answerTimes["/cgi-bin/getdata"];
    for (std::size_t i = 0; i < times.counts.size(); ++i)
        times.counts[i] = i + 1;
    times.sum = 66.5;
    return input;
}

const std::vector<std::string> Samples = {
    "vornhost_build_info{version=\"9.8.7\"} 1",
    "vornhost_cameras{state=\"unknown\"} 1",
    "vornhost_cameras{state=\"up\"} 0",
    "vornhost_cameras{state=\"degraded\"} 1",
    "vornhost_cameras{state=\"down\"} 1",
    "vornhost_camera_up{camera=\"gate\"} 1",
    "vornhost_camera_up{camera=\"hall\"} 0",
    "vornhost_camera_last_success_timestamp_seconds{camera=\"gate\"} 4000.125",
    "vornhost_camera_requests_total{camera=\"gate\",result=\"succeeded\"} 41",
    "vornhost_camera_requests_total{camera=\"gate\",result=\"failed\"} 42",
    "vornhost_camera_requests_total{camera=\"hall\",result=\"succeeded\"} 46",
    "vornhost_camera_requests_total{camera=\"hall\",result=\"failed\"} 47",
    "vornhost_camera_requests_total{camera=\"tower\",result=\"succeeded\"} 48",
    "vornhost_camera_requests_total{camera=\"tower\",result=\"failed\"} 49",
    "vornhost_camera_settings_age_seconds{camera=\"gate\"} 1.25",
    "vornhost_camera_drift_settings{camera=\"gate\"} 3",
    "vornhost_camera_drift_settings{camera=\"tower\"} 0",
    "vornhost_alarm_input_active{camera=\"gate\",input=\"0\"} 1",
    "vornhost_alarm_input_active{camera=\"gate\",input=\"5\"} 0",
    "vornhost_alarm_input_changes_total{camera=\"gate\",input=\"0\"} 43",
    "vornhost_alarm_input_changes_total{camera=\"gate\",input=\"5\"} 44",
    "vornhost_alarm_input_changes_total{camera=\"gate\",input=\"6\"} 45",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.005\"} 1",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.01\"} 3",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.025\"} 6",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.05\"} 10",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.1\"} 15",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.25\"} 21",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"0.5\"} 28",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"1\"} 36",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"2.5\"} 45",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"5\"} 55",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"10\"} 66",
    "vornhost_camera_request_duration_seconds_bucket{operation=\"/cgi-bin/getdata\",le=\"+Inf\"} 78",
    "vornhost_camera_request_duration_seconds_count{operation=\"/cgi-bin/getdata\"} 78",
    "vornhost_camera_request_duration_seconds_sum{operation=\"/cgi-bin/getdata\"} 66.5",
    "vornhost_event_clients 31",
    "vornhost_mqtt_connected 1",
    "vornhost_mqtt_queue_messages 32",
    "process_cpu_seconds_total 33.5",
    "process_resident_memory_bytes 34",
    "process_virtual_memory_bytes 35",
    "process_open_fds 36",
    "process_max_fds 37",
    "process_start_time_seconds 38.25",
    "process_threads 39",
};

TEST(Metrics, TellWhatIsKnownAndNothingElse) {
    const std::string text = MetricsText(Input());
    EXPECT_THAT(SamplesOf(text), ElementsAreArray(std::set<std::string>(Samples.begin(), Samples.end())));
    SMetricsInput without = Input();
    without.mqtt.reset();
    without.answerTimes.clear();
    EXPECT_THAT(MetricsText(without), Not(HasSubstr("mqtt")));
    EXPECT_THAT(MetricsText(without), Not(HasSubstr("duration")));
}

// What promtool has to say of a text of a thousand cameras.
TEST(Metrics, ArePrometheusOwnForm) {
    constexpr int Cameras = 1000;
    SMetricsInput input = Input();
    input.process = ReadProcessUse();
    for (int i = 0; i < Cameras; ++i) {
        input.cameras.push_back(input.cameras[0]);
        input.cameras.back().name = "c" + std::to_string(i);
    }
    input.answerTimes["/a\"b\\c\nd"] = input.answerTimes.begin()->second; // a path is the camera's to choose
    const std::string text = MetricsText(input);
    EXPECT_THAT(text, HasSubstr("vornhost_camera_up{camera=\"c999\"} 1\n"));
    const test_support::CTemporaryFolder folder;
    const std::string said = folder.file("said");
    EXPECT_EQ(
        std::system(
            ("promtool check metrics < " + folder.file("metrics", text) + " > " + said + " 2>&1").c_str()),
        0);
    std::ifstream in(said);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "");
}

// The process itself is the yardstick: what it does must show.
TEST(Metrics, TellWhatTheProcessUses) {
    std::thread([] {}).join(); // with the first one a sanitizer begins one of its own
    const auto before = ReadProcessUse();
    const double now =
        std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
    EXPECT_GT(before.started, now - 3600);
    EXPECT_LT(before.started, now + 2);
    std::uint64_t open = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        open += ::fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
    EXPECT_EQ(before.openDescriptors, open);
    std::vector<char> memory(64U << 20, 'x');
    std::ifstream one("/dev/null"), another("/dev/null");
    while (ReadProcessUse().cpuSeconds <= before.cpuSeconds) {
    }
    std::thread thread([&] {
        const auto after = ReadProcessUse();
        EXPECT_EQ(after.threads, before.threads + 1);
        EXPECT_EQ(after.openDescriptors, before.openDescriptors + 2);
        EXPECT_GE(after.residentBytes, before.residentBytes + (60U << 20));
        EXPECT_GE(after.virtualBytes, before.virtualBytes + (60U << 20));
        EXPECT_GT(after.mostDescriptors, 0);
    });
    thread.join();
}

} // namespace
} // namespace corvane::service
