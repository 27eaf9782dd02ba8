#include "benchmarks/soak/camera_log.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <map>

namespace corvane::bench {

namespace {

using nlohmann::json;

constexpr const char* Dump = "GET /cgi-bin/setdata ";
// Of what changes a camera, POST aside.
constexpr const char* Moves[] = {"GET /cgi-bin/absctrl", "GET /cgi-bin/camctrl", "GET /cgi-bin/camposiset"};
// With these faults the camera does not do what it is asked.
constexpr const char* Prevented[] = {"status", "drop",  "reset", "garbage", "header", "body",
                                     "empty",  "stale", "deny",  "restart", "swap"};
constexpr int Unauthorized = 401;
constexpr int MostDumps = 2;
constexpr std::int64_t LongestRead = 45'000; // milliseconds: two dumps, of 20 s each

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

bool IsDuring(std::int64_t time, const SCall& call) {
    return time >= call.begin && time <= call.end;
}

} // namespace

std::int64_t WallClock() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

CCameraLog::CCameraLog(const CSimulatedCameras& cameras, std::size_t number, CFindings& findings)
    : cameras_(cameras), number_(number), findings_(findings) {}

void CCameraLog::check(const std::vector<SCall>& commands, const std::vector<SCall>& reads) {
    const std::vector<SAsked> log = readOn();
    for (const SCall& command : commands)
        checkCommand(command, log);
    for (const SCall& read : reads)
        checkRead(read, log);
}

std::vector<CCameraLog::SAsked> CCameraLog::readOn() {
    std::vector<SAsked> log;
    for (bool isMore = true; isMore;) {
        const json reply = json::parse(cameras_.control(
            "GET", "/requests?camera=" + std::to_string(number_) + "&after=" + std::to_string(last_), ""));
        for (const json& request : reply.at("requests")) {
            last_ = request.at("id");
            const json& status = request.at("status");
            log.push_back(
                {request.at("method").get<std::string>() + ' ' + request.at("path").get<std::string>() + ' ' +
                     request.at("body").get<std::string>(),
                 request.at("fault"), status.is_null() ? 0 : status.get<int>(), request.at("time")});
        }
        isMore = reply.at("more");
    }
    return log;
}

// Whether the camera may have done what it was asked, and that changes something.
bool CCameraLog::mayBeCommand(const SAsked& asked) {
    const bool changes = BeginsWith(asked.what, "POST ") ||
                         std::any_of(std::begin(Moves), std::end(Moves),
                                     [&](const char* move) { return BeginsWith(asked.what, move); });
    return changes && asked.status != Unauthorized &&
           std::none_of(std::begin(Prevented), std::end(Prevented),
                        [&](const char* kind) { return asked.fault.find(kind) != std::string::npos; });
}

void CCameraLog::checkCommand(const SCall& command, const std::vector<SAsked>& log) {
    std::map<std::string, std::string> told; // what of it has been carried out, and how
    for (const SAsked& asked : log) {
        if (!IsDuring(asked.time, command) || !mayBeCommand(asked))
            continue;
        const std::string how = " after " + std::to_string(asked.time - command.begin) + " ms (status " +
                                std::to_string(asked.status) +
                                (asked.fault.empty() ? "" : ", fault " + asked.fault) + ")";
        std::string& before = told[asked.what];
        if (!before.empty())
            findings_.add("camera " + std::to_string(number_),
                          command.name + " of " + std::to_string(command.end - command.begin) +
                              " ms was carried out twice: " + asked.what + before + how);
        before += how;
    }
}

void CCameraLog::checkRead(const SCall& read, const std::vector<SAsked>& log) {
    const auto dumps = std::count_if(log.begin(), log.end(), [&](const SAsked& asked) {
        return IsDuring(asked.time, read) && asked.what == Dump && asked.status != Unauthorized;
    });
    const std::int64_t time = read.end - read.begin;
    if (dumps > MostDumps || time > LongestRead)
        findings_.add("camera " + std::to_string(number_), read.name + " waited " + std::to_string(time) +
                                                               " ms, in which " + std::to_string(dumps) +
                                                               " dumps began");
}

} // namespace corvane::bench
