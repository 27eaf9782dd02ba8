#include "service/metrics.h"

#include "refhost/base/log.h"

#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace corvane::service {
namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;
using Families = std::vector<MetricFamily>;
using Labels = std::vector<ClientMetric::Label>;

double Seconds(std::chrono::system_clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

// One metric with its samples.
class CFamily {
public:
    CFamily(Families& families, MetricType type, const char* name, const char* help)
        : families_(families), family_{name, help, type, {}} {}
    ~CFamily() {
        if (!family_.metric.empty()) // of which nothing is known, nothing is told
            families_.push_back(std::move(family_));
    }
    CFamily(const CFamily&) = delete;
    CFamily& operator=(const CFamily&) = delete;

    void add(double value, Labels labels = {}) {
        ClientMetric& metric = addLabelled(std::move(labels));
        if (family_.type == MetricType::Counter)
            metric.counter.value = value;
        else
            metric.gauge.value = value;
    }
    void add(const CAnswerTimes::SHistogram& histogram, Labels labels) {
        ClientMetric::Histogram& told = addLabelled(std::move(labels)).histogram;
        for (std::size_t i = 0; i < CAnswerTimes::Bounds.size(); ++i) {
            told.sample_count += histogram.counts[i];
            told.bucket.push_back({told.sample_count, CAnswerTimes::Bounds[i]});
        }
        told.sample_count += histogram.counts.back();
        told.sample_sum = histogram.sum;
    }

private:
    ClientMetric& addLabelled(Labels labels) {
        family_.metric.emplace_back();
        family_.metric.back().label = std::move(labels);
        return family_.metric.back();
    }

    Families& families_;
    MetricFamily family_;
};

void AddSite(Families& all, const SMetricsInput& input) {
    CFamily(all, MetricType::Gauge, "vornhost_build_info", "The program's version, of which there is one.")
        .add(1, {{"version", input.version}});
    CFamily cameras(all, MetricType::Gauge, "vornhost_cameras", "Cameras of the site, by their state.");
    for (const Health health : {Health::Unknown, Health::Up, Health::Degraded, Health::Down})
        cameras.add(static_cast<double>(
                        std::count_if(input.cameras.begin(), input.cameras.end(),
                                      [health](const SCameraStatus& one) { return one.health == health; })),
                    {{"state", NameOf(health)}});
}

void AddCameras(Families& all, const SMetricsInput& input) {
    CFamily up(all, MetricType::Gauge, "vornhost_camera_up",
               "Whether the camera answers, with a problem or without.");
    CFamily success(all, MetricType::Gauge, "vornhost_camera_last_success_timestamp_seconds",
                    "When the camera last answered a request as it should.");
    CFamily requests(all, MetricType::Counter, "vornhost_camera_requests_total",
                     "Requests that were made to the camera, by whether they succeeded.");
    CFamily settings(all, MetricType::Gauge, "vornhost_camera_settings_age_seconds",
                     "How long ago the camera's settings were read.");
    CFamily drift(all, MetricType::Gauge, "vornhost_camera_drift_settings",
                  "Settings in which the camera differs from the site file.");
    CFamily active(all, MetricType::Gauge, "vornhost_alarm_input_active",
                   "Whether the alarm input is active.");
    CFamily changes(all, MetricType::Counter, "vornhost_alarm_input_changes_total",
                    "Changes of the alarm input that were heard.");
    for (const SCameraStatus& camera : input.cameras) {
        const ClientMetric::Label name{"camera", camera.name};
        if (camera.health != Health::Unknown)
            up.add(camera.health == Health::Down ? 0 : 1, {name});
        if (camera.lastSuccess)
            success.add(Seconds(camera.lastSuccess->time_since_epoch()), {name});
        requests.add(static_cast<double>(camera.requests.succeeded), {name, {"result", "succeeded"}});
        requests.add(static_cast<double>(camera.requests.failed), {name, {"result", "failed"}});
        if (camera.settings)
            settings.add(Seconds(input.now - *camera.settings), {name});
        if (camera.drift.state == DriftState::Same || camera.drift.state == DriftState::Differs)
            drift.add(static_cast<double>(camera.drift.differences.size()), {name});
        for (const SInputLevel& level : camera.inputs) {
            const ClientMetric::Label number{"input", std::to_string(level.input)};
            if (level.isActive)
                active.add(*level.isActive ? 1 : 0, {name, number});
            changes.add(static_cast<double>(level.changes), {name, number});
        }
    }
}

void AddClients(Families& all, const SMetricsInput& input) {
    {
        CFamily durations(all, MetricType::Histogram, "vornhost_camera_request_duration_seconds",
                          "How long cameras took to answer, by the path that was asked for.");
        for (const auto& [operation, histogram] : input.answerTimes)
            durations.add(histogram, {{"operation", refhost::MaskSecrets(operation)}});
    }
    CFamily(all, MetricType::Gauge, "vornhost_event_clients", "Clients that are told events as they come.")
        .add(static_cast<double>(input.eventClients));
    if (!input.mqtt)
        return;
    CFamily(all, MetricType::Gauge, "vornhost_mqtt_connected", "Whether the MQTT broker is connected.")
        .add(input.mqtt->isConnected ? 1 : 0);
    CFamily(all, MetricType::Gauge, "vornhost_mqtt_queue_messages",
            "Messages that the MQTT broker has not taken yet.")
        .add(static_cast<double>(input.mqtt->waiting));
}

void AddProcess(Families& all, const SProcessUse& use) {
    const struct {
        MetricType type;
        const char* name;
        const char* help;
        double value;
    } rows[] = {
        {MetricType::Counter, "process_cpu_seconds_total", "Processor time that the process has used.",
         use.cpuSeconds},
        {MetricType::Gauge, "process_resident_memory_bytes", "Memory of the process that is resident.",
         static_cast<double>(use.residentBytes)},
        {MetricType::Gauge, "process_virtual_memory_bytes", "Address space of the process.",
         static_cast<double>(use.virtualBytes)},
        {MetricType::Gauge, "process_open_fds", "Open file descriptors.",
         static_cast<double>(use.openDescriptors)},
        {MetricType::Gauge, "process_max_fds", "The most file descriptors that may be open.",
         use.mostDescriptors},
        {MetricType::Gauge, "process_start_time_seconds", "When the process began.", use.started},
        {MetricType::Gauge, "process_threads", "Threads of the process.", static_cast<double>(use.threads)},
    };
    for (const auto& row : rows)
        CFamily(all, row.type, row.name, row.help).add(row.value);
}

} // namespace

std::string MetricsText(const SMetricsInput& input) {
    Families all;
    AddSite(all, input);
    AddCameras(all, input);
    AddClients(all, input);
    AddProcess(all, input.process);
    return prometheus::TextSerializer().Serialize(all);
}

} // namespace corvane::service
