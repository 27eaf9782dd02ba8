#include "control/control_interface.h"
#include "control/input_keys.h"
#include "control/scenario.h"
#include "control/state_file.h"
#include "http/camera_server.h"
#include "model/camera.h"
#include "model/camera_data.h"
#include "model/fault_names.h"
#include "model/named_faults.h"
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

constexpr int CannotServe = 1;
constexpr int WrongUsage = 2;

// Each option is well formed, but what they ask for cannot be done.
class CUsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Blocks the signals that end the program in this thread and all that it starts, so that main can wait for
// them.
sigset_t BlockEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signals;
}

// Raises the program's limit of descriptors as far as the system allows, to `most` at most. Returns the
// limit.
rlim_t RaiseDescriptorLimit(rlim_t most) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min(limit.rlim_max, most);
    setrlimit(RLIMIT_NOFILE, &limit);
    getrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

std::chrono::milliseconds Milliseconds(double seconds) {
    return std::chrono::round<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

std::string ReadPassword(const std::string& path) {
    if (path.empty())
        return "12345";
    std::ifstream file(path);
    std::string password;
    if (!file || !std::getline(file, password))
        throw CUsageError("--password-file: cannot read a line from " + path);
    if (!password.empty() && password.back() == '\r')
        password.pop_back();
    return password;
}

std::vector<std::unique_ptr<CCamera>> MakeCameras(const SOptions& options) {
    std::vector<std::shared_ptr<const SCameraModel>> models;
    try {
        for (const std::string& number : options.models)
            models.push_back(LoadEmbeddedModel(number));
        for (const std::string& directory : options.cameraDirectories)
            models.push_back(LoadModelFromDirectory(directory));
    } catch (const CCameraDataError& error) {
        throw CUsageError(error.what());
    }
    std::vector<std::unique_ptr<CCamera>> cameras;
    for (size_t i = 0; i < options.count; ++i)
        cameras.push_back(std::make_unique<CCamera>(i, models[i % models.size()]));
    return cameras;
}

void AddFaults(const SOptions& options, CFaultList& faults, CNamedFaults& named) {
    try {
        for (const std::string& text : options.faults)
            if (LooksLikeAName(text))
                named.set(text);
            else
                faults.add(ParseFaultText(text, options.count));
    } catch (const CFaultError& error) {
        throw CUsageError(std::string("--fault: ") + error.what());
    }
}

std::vector<SScenarioStep> Scenario(const SOptions& options,
                                    const std::vector<std::unique_ptr<CCamera>>& cameras) {
    if (options.scenarioFile.empty())
        return {};
    try {
        return ReadScenario(options.scenarioFile, cameras);
    } catch (const CScenarioError& error) {
        throw CUsageError(std::string("--scenario: ") + error.what());
    }
}

sockaddr_in FirstAddress(const SOptions& options) {
    try {
        return ParseAddress(options.listen);
    } catch (const CSocketError& error) {
        throw CUsageError(std::string("--listen: ") + error.what());
    }
}

void Announce(const std::vector<std::unique_ptr<CCamera>>& cameras, const CListeners& listeners,
              const CRtspServer* rtsp, const CControlInterface& control) {
    nlohmann::json line{{"cameras", nlohmann::json::array()}, {"control", control.address()}};
    for (const auto& camera : cameras)
        line["cameras"].push_back(listeners.address(camera->index()));
    if (rtsp != nullptr)
        for (const auto& camera : cameras)
            line["rtsp"].push_back(rtsp->address(camera->index()));
    std::cout << line.dump() << std::endl;
}

void Serve(const SOptions& options) {
    const sigset_t endSignals = BlockEndSignals();
    const rlim_t descriptors = RaiseDescriptorLimit(options.descriptors);
    const auto cameras = MakeCameras(options);
    const sockaddr_in first = FirstAddress(options);
    const std::string password = ReadPassword(options.passwordFile);
    CAuthenticator authenticator(options.authScheme, options.user, password, options.nonceLifetimeSeconds);
    CFaultList faults;
    const std::vector<SScenarioStep> steps = Scenario(options, cameras);
    CRequestLog log({options.logSize});

    const SConnectionBounds bounds = BoundsFor(descriptors, cameras.size(), !options.withoutRtsp);
    std::unique_ptr<CStateFile> state; // outlives the thread that saves it
    CEventLoop saving;
    if (!options.stateFile.empty())
        state = std::make_unique<CStateFile>(options.stateFile, cameras, saving);
    CNamedFaults named(cameras, faults);
    AddFaults(options, faults, named); // behind the settings that were kept
    CListeners listeners(cameras, ListenFrom(first, options.addresses, cameras.size()));
    std::unique_ptr<CRtspServer> rtsp; // outlives the loop that accepts for it
    CEventLoop loop;
    if (!options.withoutRtsp)
        rtsp = std::make_unique<CRtspServer>(CRtspServer::SParts{cameras, faults, loop, listeners},
                                             SRtspCredentials{options.authScheme, options.user, password},
                                             SRtspPortPlan{options.rtspPort, options.addresses},
                                             CRtspServer::SLimits{options.connectionTimes, bounds.rtsp});
    const CInputKeys keys(*cameras.front(), loop);
    CCameraServer server({authenticator, faults, log, listeners, loop, rtsp.get(), cameras},
                         {Milliseconds(options.rebootSeconds), Milliseconds(options.monitorPeriodSeconds),
                          options.connectionTimes, bounds.http});
    server.start();
    if (rtsp)
        rtsp->start();
    server.followPortFaults();
    PlayScenario(steps, cameras, loop);
    loop.start();
    if (state)
        saving.start(); // apart from the cameras, which must not wait for a disk
    {
        const CControlInterface control(
            {cameras, listeners, server, authenticator, rtsp.get(), faults, named, log}, options.controlPort,
            {options.connectionTimes, bounds.control});
        Announce(cameras, listeners, rtsp.get(), control);
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
    const std::variant<SOptions, int> parsed = CCommandLine().parse(argc, argv);
    if (const int* status = std::get_if<int>(&parsed))
        return *status;
    try {
        Serve(std::get<SOptions>(parsed));
        return 0;
    } catch (const CUsageError& error) {
        std::cerr << "camsim: " << error.what() << "\n";
        return WrongUsage;
    } catch (const std::exception& error) {
        std::cerr << "camsim: " << error.what() << "\n";
        return CannotServe;
    }
}
