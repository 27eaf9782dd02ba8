#include "benchmarks/simulated_cameras.h"

#include "benchmarks/environment.h"
#include "benchmarks/plain_client.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>

namespace corvane::bench {

CSimulatedCameras::CSimulatedCameras(const std::string& readyFile) {
    std::ifstream file(readyFile);
    for (std::string line; std::getline(file, line);) {
        const nlohmann::json ready = nlohmann::json::parse(line, nullptr, false);
        if (ready.is_discarded())
            throw CFailure(readyFile + ": not a simulator's ready line");
        const auto more = ready.at("cameras").get<std::vector<std::string>>();
        addresses_.insert(addresses_.end(), more.begin(), more.end());
        if (control_.empty())
            control_ = ready.at("control").get<std::string>();
    }
    if (addresses_.empty())
        throw CFailure(readyFile + ": no simulator's ready line");
}

const std::string& CSimulatedCameras::takeFresh() {
    if (taken_ == addresses_.size())
        throw CFailure("all " + std::to_string(taken_) + " simulated cameras are used: more are needed");
    return addresses_[taken_++];
}

std::size_t CSimulatedCameras::countRequests(const std::string& address) const {
    const std::string state = CPlainClient(control_).get(controlPath(address));
    return nlohmann::json::parse(state).at("requests").get<std::size_t>();
}

nlohmann::json CSimulatedCameras::answeredRequests(const std::string& address) const {
    const nlohmann::json log = nlohmann::json::parse(
        CPlainClient(control_).get("/requests?camera=" + std::to_string(numberOf(address))));
    nlohmann::json answered = nlohmann::json::array();
    for (const nlohmann::json& request : log.at("requests"))
        if (request.at("status") == 200)
            answered.push_back(request);
    return answered;
}

std::vector<std::string> CSimulatedCameras::answeredPaths(const std::string& address) const {
    std::vector<std::string> paths;
    const nlohmann::json answered = answeredRequests(address);
    for (const nlohmann::json& request : answered)
        if (request.at("method") == "GET")
            paths.push_back(request.at("path"));
    return paths;
}

void CSimulatedCameras::setFault(const std::string& address, const std::string& name) const {
    const nlohmann::json fault = {{"name", name}, {"camera", numberOf(address)}};
    control("POST", "/faults", fault.dump());
}

void CSimulatedCameras::setInput(const std::string& address, int input, const std::string& level) const {
    const nlohmann::json levels = {{std::to_string(input), level}};
    control("PATCH", controlPath(address) + "/inputs", levels.dump());
}

std::string CSimulatedCameras::control(const std::string& method, const std::string& path,
                                       const std::string& body) const {
    return CPlainClient(control_).send(method, path, body);
}

std::string CSimulatedCameras::controlPath(const std::string& address) const {
    return "/cameras/" + std::to_string(numberOf(address));
}

std::ptrdiff_t CSimulatedCameras::numberOf(const std::string& address) const {
    return std::find(addresses_.begin(), addresses_.end(), address) - addresses_.begin();
}

} // namespace corvane::bench
