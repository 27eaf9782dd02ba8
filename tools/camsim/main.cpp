#include "control/control_interface.h"
#include "control/input_keys.h"
#include "control/scenario.h"
#include "control/state_file.h"
#include "http/camera_server.h"
#include "model/camera.h"
#include "model/camera_data.h"
#include "net/authenticator.h"
#include "options.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

namespace {

using namespace camsim;

constexpr int cannotServe = 1;
constexpr int wrongUsage = 2;

/// A command line whose options are well formed and cannot be followed.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Blocks the signals that end the program in this thread and all that it starts, so that main can wait for
/// them.
sigset_t blockEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signals;
}

/// Takes as many descriptors as may be had, but `most` of them, and answers how many that are.
rlim_t raiseDescriptorLimit(rlim_t most) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, most);
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

std::string readPassword(const std::string& path) {
    if (path.empty())
        return "12345";
    std::ifstream file(path);
    std::string password;
    if (!file || !std::getline(file, password))
        throw UsageError("--password-file: cannot read a line from " + path);
    if (!password.empty() && password.back() == '\r')
        password.pop_back();
    return password;
}

std::vector<std::unique_ptr<Camera>> makeCameras(const Options& options) {
    std::vector<std::shared_ptr<const CameraModel>> models;
    try {
        for (const std::string& number : options.models)
            models.push_back(loadEmbeddedModel(number));
        for (const std::string& directory : options.cameraDirectories)
            models.push_back(loadModelFromDirectory(directory));
    } catch (const CameraDataError& error) {
        throw UsageError(error.what());
    }
    std::vector<std::unique_ptr<Camera>> cameras;
    for (size_t i = 0; i < options.count; ++i)
        cameras.push_back(std::make_unique<Camera>(i, models[i % models.size()]));
    return cameras;
}

void addFaults(const Options& options, FaultList& faults) {
    try {
        for (const std::string& text : options.faults)
            faults.add(parseFaultText(text, options.count));
    } catch (const FaultError& error) {
        throw UsageError(std::string("--fault: ") + error.what());
    }
}

std::vector<ScenarioStep> scenario(const Options& options,
                                   const std::vector<std::unique_ptr<Camera>>& cameras) {
    if (options.scenarioFile.empty())
        return {};
    try {
        return readScenario(options.scenarioFile, cameras);
    } catch (const ScenarioError& error) {
        throw UsageError(std::string("--scenario: ") + error.what());
    }
}

sockaddr_in firstAddress(const Options& options) {
    try {
        return parseAddress(options.listen);
    } catch (const SocketError& error) {
        throw UsageError(std::string("--listen: ") + error.what());
    }
}

void announce(const std::vector<std::unique_ptr<Camera>>& cameras, const Listeners& listeners,
              const RtspServer* rtsp, const ControlInterface& control) {
    nlohmann::json line{{"cameras", nlohmann::json::array()}, {"control", control.address()}};
    for (const auto& camera : cameras)
        line["cameras"].push_back(listeners.address(camera->index()));
    if (rtsp != nullptr)
        for (const auto& camera : cameras)
            line["rtsp"].push_back(rtsp->address(camera->index()));
    std::cout << line.dump() << std::endl;
}

void serve(const Options& options) {
    const sigset_t endSignals = blockEndSignals();
    const rlim_t descriptors = raiseDescriptorLimit(options.descriptors);
    const auto cameras = makeCameras(options);
    const sockaddr_in first = firstAddress(options);
    const std::string password = readPassword(options.passwordFile);
    Authenticator authenticator(options.authScheme, options.user, password, options.nonceLifetimeSeconds);
    FaultList faults;
    addFaults(options, faults);
    const std::vector<ScenarioStep> steps = scenario(options, cameras);
    RequestLog log({options.logSize});

    const ConnectionBounds bounds = boundsFor(descriptors, cameras.size(), !options.withoutRtsp);
    std::unique_ptr<StateFile> state; // outlives the thread that saves it
    EventLoop saving;
    if (!options.stateFile.empty())
        state = std::make_unique<StateFile>(options.stateFile, cameras, saving);
    Listeners listeners(cameras, listenFrom(first, options.addresses, cameras.size()));
    std::unique_ptr<RtspServer> rtsp; // outlives the loop that accepts for it
    EventLoop loop;
    if (!options.withoutRtsp)
        rtsp = std::make_unique<RtspServer>(RtspServer::Parts{cameras, faults, loop, listeners},
                                            RtspCredentials{options.authScheme, options.user, password},
                                            RtspPortPlan{options.rtspPort, options.addresses},
                                            RtspServer::Limits{options.connectionTimes, bounds.rtsp});
    const InputKeys keys(*cameras.front(), loop);
    CameraServer server({authenticator, faults, log, listeners, loop, rtsp.get(), cameras},
                        {milliseconds(options.rebootSeconds), milliseconds(options.monitorPeriodSeconds),
                         options.connectionTimes, bounds.http});
    server.start();
    if (rtsp)
        rtsp->start();
    playScenario(steps, cameras, loop);
    loop.start();
    if (state)
        saving.start(); // apart from the cameras, which must not wait for a disk
    {
        const ControlInterface control({cameras, listeners, server, authenticator, rtsp.get(), faults, log},
                                       options.controlPort, {options.connectionTimes, bounds.control});
        announce(cameras, listeners, rtsp.get(), control);
        int signal = 0;
        sigwait(&endSignals, &signal);
    }
    server.stop();
    if (rtsp)
        rtsp->stop();
    saving.stop();
    if (state)
        state->save();
}

} // namespace

int main(int argc, char** argv) {
    const std::variant<Options, int> parsed = parseOptions(argc, argv);
    if (const int* status = std::get_if<int>(&parsed))
        return *status;
    try {
        serve(std::get<Options>(parsed));
        return 0;
    } catch (const UsageError& error) {
        std::cerr << "camsim: " << error.what() << "\n";
        return wrongUsage;
    } catch (const std::exception& error) {
        std::cerr << "camsim: " << error.what() << "\n";
        return cannotServe;
    }
}
