#include "benchmarks/soak/faults.h"

#include "benchmarks/environment.h"

#include <nlohmann/json.hpp>

#include <iterator>
#include <utility>

namespace corvane::bench {

namespace {

using nlohmann::json;

// Of docs/faults.md, those that hit a camera which has come up.
constexpr const char* Names[] = {
    "web-refused",        "web-silent",          "web-closed",        "web-reset",
    "web-html",           "web-garbage",         "wrong-password",    "digest-always-stale",
    "challenge-missing",  "basic-alone",         "user-forbidden",    "answers-lost",
    "answers-slow",       "settings-dropped",    "settings-reset",    "settings-body-cut",
    "settings-trickle",   "settings-garbage",    "settings-html",     "settings-empty",
    "settings-truncated", "settings-wrong-case", "settings-redirect", "settings-unavailable",
    "settings-restart",   "write-dropped",       "write-reset",       "write-cut",
    "write-no-answer",    "write-garbage",       "write-unavailable", "write-wrong-password",
    "write-jumps-back",   "write-ignored",       "write-restart",     "move-dropped",
    "move-cut",           "move-no-answer",      "move-unavailable",  "move-restart",
    "monitor-dropped",    "monitor-reset",       "monitor-closes",    "monitor-silent",
    "monitor-empty",      "monitor-garbage",     "monitor-no-answer", "monitor-unavailable",
    "monitor-wrong-case", "monitor-restart",     "monitor-redirect",  "monitor-wrong-password"};

// Of the monitor's reply while it is open, beyond those.
const json Others[] = {
    {{"kind", "cut"}, {"ms", 20}},   {{"kind", "reset"}, {"ms", 20}},
    {{"kind", "close"}, {"ms", 50}}, {{"kind", "split"}},
    {{"kind", "wrongcase"}},         {{"kind", "stall"}, {"ms", 3000}},
    {{"kind", "silence"}},           {{"kind", "body"}, {"size", 1000000}},
};

constexpr unsigned OneRestartIn = 12;

} // namespace

void CFaults::add(std::mt19937& random) {
    if (random() % OneRestartIn == 0) {
        cameras_.control("POST", "/cameras/" + std::to_string(number_) + "/reboot", "{}");
        return;
    }
    const std::size_t choice = random() % (std::size(Names) + std::size(Others));
    json fault = {{"camera", number_}};
    if (choice < std::size(Names)) {
        fault["name"] = Names[choice];
    } else {
        fault.update(Others[choice - std::size(Names)]);
        fault.update({{"path", "/cgi-bin/get_io?mode=monitor"}, {"count", 1 + random() % 3}});
    }
    const json reply = json::parse(cameras_.control("POST", "/faults", fault.dump()));
    ids_.push_back(reply.contains("id") ? reply.at("id").get<int>() : reply.at("ids").at(0).get<int>());
}

void CFaults::clear() {
    for (const int id : std::exchange(ids_, {}))
        try {
            cameras_.control("DELETE", "/faults/" + std::to_string(id), "");
        } catch (const CFailure&) { // NOLINT(bugprone-empty-catch)
            // Another camera has the fault of that name by now: camsim sets each at one.
        }
}

} // namespace corvane::bench
