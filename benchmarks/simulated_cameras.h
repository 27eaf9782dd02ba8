#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace corvane::bench {

// The cameras of running simulators; only those of the first can be controlled.
class CSimulatedCameras {
public:
    // `readyFile` holds the line that each simulator prints when it serves. Throws CFailure.
    explicit CSimulatedCameras(const std::string& readyFile);

    const std::vector<std::string>& addresses() const { return addresses_; }

    // The address of a camera that nobody has asked anything yet, so that no kept connection and no
    // remembered challenge helps. Throws CFailure when all have been given out.
    const std::string& takeFresh();

    // How many requests the camera has had since it was started, those answered 401 among them.
    std::size_t countRequests(const std::string& address) const;

    // The camera's requests so far that were answered 200: {"method","path","body"}, the path with its query.
    nlohmann::json answeredRequests(const std::string& address) const;
    // The paths of those of them that were GET.
    std::vector<std::string> answeredPaths(const std::string& address) const;

    // Gives an alarm input of the camera, counted from 1, a level ("High" or "Low").
    void setInput(const std::string& address, int input, const std::string& level) const;

    // The camera alone has the fault of the catalogue.
    void setFault(const std::string& address, const std::string& name) const;

    // A request to the simulator's control interface, with a JSON text or an empty one, and its reply.
    std::string control(const std::string& method, const std::string& path, const std::string& body) const;

private:
    std::string controlPath(const std::string& address) const;
    std::ptrdiff_t numberOf(const std::string& address) const;

    std::vector<std::string> addresses_;
    std::string control_;
    std::size_t taken_ = 0;
};

} // namespace corvane::bench
