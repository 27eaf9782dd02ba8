// Video: each query of a range beside one memmem for its key over the same capability text; a stream brought
// to the recorder's record, when the camera agrees (no request) and when it differs, beside the same requests
// by the plain client; and a thousand cameras (50 in a quick run) checked for drift.

#include "benchmarks/plain_client.h"
#include "benchmarks/stopwatch.h"
#include "benchmarks/workloads.h"

#include "camera/cgi_paths.h"
#include "refhost/base/log.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <mutex>
#include <vector>

namespace corvane::bench {

namespace {

using benchmark::State;
using device_handler::v1_0::CError;
using device_handler::v1_0::CString;
using device_handler::v1_0::VideoCodec;
using handler_impl::SVideoStreamId;
using vorn_camera_base::v1_0::CVAPI_VALUE_TYPE;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_camera_base::v1_0::SVornVidValsInDb;
using Camera = boost::shared_ptr<CVornCamera>;

constexpr SVideoStreamId Stream = {0, VideoCodec::H264, 0};
constexpr int DriftIterations = 1;

struct SQuery {
    const char* name;
    CError (CVornCamera::*range)(int, int, VideoCodec, std::vector<CString>&, CVAPI_VALUE_TYPE&);
    VideoCodec codec;
    const char* key;
};

const SQuery Queries[] = {
    {"resolution", &CVornCamera::getVideoCodecResolutionRange, VideoCodec::H264,
     "video_server.image.h264.resolution"},
    {"frame_rate", &CVornCamera::getVideoCodecFrameRateRange, VideoCodec::H264,
     "video_server.image.h264.framerate="},
    {"key_frames", &CVornCamera::getVideoCodecKeyFrameIntervalRange, VideoCodec::H264,
     "video_server.image.h264.i_interval="},
    {"bit_rate", &CVornCamera::getVideoCodecBitRateRange, VideoCodec::Mpeg4,
     "video_server.image.mpeg4.bandwidth="},
};

Camera BringUp(const CEnvironment& environment, const std::string& address) {
    Camera camera = environment.bringUp(environment.makeContext(address), address);
    std::vector<CString> name;
    camera->getCameraName(0, name); // waits for the settings
    return camera;
}

void RegisterQueries(CEnvironment& environment) {
    const std::string address = environment.cameras().takeFresh();
    const Camera camera = BringUp(environment, address);
    const std::string text =
        CPlainClient(address, environment.credentials()).get(panasonic_camera::cgi::GetCapability);
    const int repetitions = environment.choose(9, 3);
    for (const SQuery& query : Queries) {
        if (text.find(query.key) == std::string::npos)
            throw CFailure(std::string("the capability has no ") + query.key);
        const std::string name = std::string("video_range_") + query.name;
        benchmark::RegisterBenchmark((name + "/query").c_str(), [camera, query](State& state) {
            for (auto _ : state) {
                std::vector<CString> range;
                CVAPI_VALUE_TYPE type{};
                if (((*camera).*query.range)(0, 0, query.codec, range, type) || range.empty())
                    state.SkipWithError("no range");
            }
        })->Repetitions(repetitions);
        benchmark::RegisterBenchmark((name + "/memmem").c_str(), [text, key = std::string(query.key)](
                                                                     State& state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(memmem(text.data(), text.size(), key.data(), key.size()));
        })->Repetitions(repetitions);
    }
}

SVornVidValsInDb RecordWith(const char* frameRate) {
    SVornVidValsInDb record;
    record.resolution = "640x360";
    record.frameRate = frameRate;
    record.keyFrameInterval = frameRate;
    return record;
}

// The framework's requests while it lives, but for the dumps that the settings threads fetch.
class CRequestCount {
public:
    CRequestCount() {
        refhost::SetExchangeObserver([this](const refhost::SHttpExchange& exchange) {
            if (exchange.path == panasonic_camera::cgi::Setdata)
                return;
            const std::lock_guard<std::mutex> lock(mutex_);
            ++count_;
            last_ = exchange.path;
        });
    }
    ~CRequestCount() { refhost::SetExchangeObserver({}); }
    CRequestCount(const CRequestCount&) = delete;
    CRequestCount& operator=(const CRequestCount&) = delete;

    double count() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return count_;
    }
    std::string last() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return last_;
    }

private:
    mutable std::mutex mutex_; // guards what follows
    int count_ = 0;
    std::string last_; // path and query
};

void Synchronise(CVornCamera& camera, SVornVidValsInDb record, int expected) {
    const CError result = camera.syncVideoCodecProperties(record, Stream);
    if (result.getCode() != expected)
        throw CFailure("a stream cannot be synchronised: " + result.getText());
}

void RegisterSynchronisation(CEnvironment& environment) {
    const std::string address = environment.cameras().takeFresh();
    const Camera camera = BringUp(environment, address);
    Synchronise(*camera, RecordWith("10"), 2);
    const int repetitions = environment.choose(50, 5);
    const auto registerTimed = [&](const char* name, const std::function<void(State&)>& run) {
        benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(1)->Repetitions(repetitions);
    };
    registerTimed("video_sync_agrees", [camera](State& state) {
        for (auto _ : state) {
            Synchronise(*camera, RecordWith("10"), 1); // the latest of the others has left it so
            const CRequestCount requests;
            const CStopwatch watch;
            Synchronise(*camera, RecordWith("10"), 1);
            state.SetIterationTime(watch.seconds());
            state.counters["requests"] = requests.count();
        }
    });
    registerTimed("video_sync_differs/plug-in", [camera](State& state) {
        for (auto _ : state) {
            const CRequestCount requests;
            const CStopwatch watch;
            Synchronise(*camera, RecordWith("30"), 2);
            state.SetIterationTime(watch.seconds());
            state.counters["requests"] = requests.count();
            Synchronise(*camera, RecordWith("10"), 2);
        }
    });
    const auto requestOf = [&](const char* frameRate) {
        const CRequestCount requests;
        Synchronise(*camera, RecordWith(frameRate), 2);
        return requests.last();
    };
    const std::string there = requestOf("30");
    const std::string back = requestOf("10");
    const auto client =
        std::make_shared<CPlainClient>(environment.cameras().takeFresh(), environment.credentials());
    client->get(panasonic_camera::cgi::Setdata); // the challenge
    registerTimed("video_sync_differs/plain", [client, there, back](State& state) {
        for (auto _ : state) {
            const CStopwatch watch;
            client->get(there);
            client->get(panasonic_camera::cgi::Setdata); // what the camera accepted
            state.SetIterationTime(watch.seconds());
            client->get(back);
            client->get(panasonic_camera::cgi::Setdata);
        }
    });
}

void RegisterDrift(CEnvironment& environment) {
    std::vector<Camera> fleet;
    for (int i = environment.choose(1000, 50); i > 0; --i)
        fleet.push_back(BringUp(environment, environment.cameras().takeFresh()));
    for (const Camera& camera : fleet)
        Synchronise(*camera, RecordWith("10"), 2);
    benchmark::RegisterBenchmark("video_drift",
                                 [fleet](State& state) {
                                     for (auto _ : state) {
                                         for (const Camera& camera : fleet)
                                             Synchronise(*camera, RecordWith("10"),
                                                         1); // after the reload that follows a write
                                         const CRequestCount requests;
                                         const CStopwatch watch;
                                         for (const Camera& camera : fleet)
                                             Synchronise(*camera, RecordWith("10"), 1);
                                         state.SetIterationTime(watch.seconds());
                                         state.counters["requests"] = requests.count();
                                     }
                                 })
        ->UseManualTime()
        ->Iterations(DriftIterations);
}

} // namespace

void RegisterVideo(CEnvironment& environment) {
    RegisterQueries(environment);
    RegisterSynchronisation(environment);
    RegisterDrift(environment);
}

} // namespace corvane::bench
