// vorn_lives: plug-ins, cameras, PTZ controllers and streams that come and go, each kind many times one after
// another. From the first tenth of them on the process must not grow.
//
// scripts/soak lives starts the simulated camera.

#include "benchmarks/environment.h"
#include "benchmarks/soak/growth.h"
#include "benchmarks/stopwatch.h"
#include "host/event_stream_controller.h"
#include "host/handler.h"
#include "refhost/devices/contexts.h"
#include "refhost/models/model_list_file.h"

#include <CLI/CLI.hpp>

#include <gst/gst.h>

#include <cstdio>
#include <functional>
#include <future>
#include <iostream>

namespace {

using namespace corvane::bench;
using corvane::device_handler::v1_0::CCallback;
using corvane::device_handler::v1_0::CError;
using corvane::device_handler::v1_0::IStreamController;
using corvane::device_handler::v1_0::VideoCodec;
using corvane::handler_impl::SVideoStreamId;
namespace refhost = corvane::refhost;

void Require(const CError& error) {
    if (error)
        throw CFailure(error.getText());
}

class CLives {
public:
    CLives(CEnvironment& environment, const std::string& plugin, const std::string& models)
        : environment_(environment),
          plugin_(plugin),
          models_(refhost::LoadModelList(models)),
          address_(environment.cameras().takeFresh()),
          context_(environment.makeContext(address_)),
          camera_(environment.bringUp(context_, address_)) {
        g_thread_pool_set_max_unused_threads(0); // GLib keeps some for later streams, now more, now less
    }

    // Whether nothing has grown.
    bool run(int count) {
        const struct {
            const char* name;
            std::function<void()> live;
        } kinds[] = {
            {"plug-in", [this] { loadPlugin(); }},
            {"camera", [this] { environment_.bringUp(environment_.makeContext(address_), address_); }},
            {"controller", [this] { environment_.createPtzController(context_, camera_, address_)->stop(); }},
            {"command", [this] { giveCommand(); }},
            {"event stream", [this] { playEvents(); }},
            {"video stream", [this] { playVideo(); }},
        };
        std::printf("%-14s %8s %10s %12s %14s %10s\n", "", "lives", "threads", "descriptors", "resident KiB",
                    "heap KiB");
        for (const auto& kind : kinds)
            liveAndMeasure(kind.name, count, kind.live);
        return findings_.count() == 0;
    }

private:
    // Two kept connections and what is read from them: some bytes of each of the usual ten thousand lives.
    static constexpr CGrowth::SSlack Slack{2 * 3, 200'000, 2'000'000};
    static constexpr int Tenths = 10;

    void liveAndMeasure(const char* name, int count, const std::function<void()>& live) {
        CGrowth growth(Slack);
        for (int tenth = 1; tenth <= Tenths; ++tenth) {
            for (int i = 0; i < count / Tenths; ++i)
                live();
            const SProcessUse use = growth.measure();
            if (tenth != 1 && tenth != Tenths)
                continue;
            std::printf("%-14s %8d %10.0f %12.0f %14.0f %10.0f\n", name, tenth * (count / Tenths),
                        use.threads, use.descriptors, use.residentBytes / 1024, use.heapBytes / 1024);
            (void)std::fflush(stdout);
        }
        growth.check(name, findings_);
    }

    // With a handler, which has a thread.
    void loadPlugin() {
        const refhost::CPluginLibrary plugin(plugin_);
        refhost::CHandlerContext context(models_);
        plugin.createHandler(context)->queryDeviceAsync("", {}, CCallback());
    }

    void giveCommand() {
        std::promise<void> ended;
        const auto controller = environment_.createPtzController(context_, camera_, address_);
        controller->moveTo(1, 1, 0, CCallback([&ended](const CError&, const auto&) { ended.set_value(); }));
        ended.get_future().wait();
    }

    void playEvents() {
        IStreamController* made = nullptr;
        Require(camera_->createEventStreamPipeline(made, 0));
        play(made);
    }
    void playVideo() {
        IStreamController* made = nullptr;
        SVideoStreamId stream;
        stream.codec = VideoCodec::H264;
        Require(camera_->createVideoStreamPipeline(made, stream));
        play(made);
    }
    static void play(IStreamController* made) {
        const std::unique_ptr<IStreamController> stream(made);
        Require(stream->start());
        stream->stop();
    }

    CEnvironment& environment_;
    const std::string plugin_;
    const boost::shared_ptr<corvane::device_handler::v1_0::CVornModelList> models_;
    const std::string address_;
    const boost::shared_ptr<corvane::device_handler::v1_0::IDeviceContext> context_;
    const boost::shared_ptr<corvane::vorn_camera_base::v1_0::CVornCamera> camera_;
    CFindings findings_;
};

} // namespace

int main(int argc, char** argv) {
    int count = 10'000;
    std::string plugin, models, simulator;
    CLI::App app(
        "Plug-ins, cameras, controllers and streams that come and go, and what the process uses meanwhile");
    app.add_option("--count", count, "How many of each")
        ->capture_default_str()
        ->check(CLI::Range(10, 10'000'000));
    app.add_option("--plugin", plugin, "The plug-in's shared library")->required();
    app.add_option("--models", models, "The model list")->required();
    app.add_option("--simulator", simulator, "File with the ready line of the camera simulator")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        constexpr bool IsQuick = false;
        CEnvironment environment(IsQuick, plugin, models, simulator);
        return CLives(environment, plugin, models).run(count) ? 0 : 1;
    } catch (const std::exception& failure) {
        std::cerr << "vorn_lives: " << failure.what() << "\n";
    }
    return 1;
}
