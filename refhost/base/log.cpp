#include "refhost/base/log.h"

#include "refhost/base/names.h"
#include "refhost/base/printable_text.h"

#include <nlohmann/json.hpp>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace corvane::refhost {
namespace {

constexpr const char* LogPattern = "%Y-%m-%d %H:%M:%S.%e %v";
constexpr const char* TracePattern = "%v";

spdlog::logger makeLogger(const char* pattern) {
    spdlog::logger logger("vorn", std::make_shared<spdlog::sinks::stderr_sink_mt>());
    logger.set_pattern(pattern);
    logger.set_level(spdlog::level::trace);
    return logger;
}

struct SState {
    std::atomic<int> lowestLevel{LogFailure};
    std::atomic<bool> trace{false};
    spdlog::logger log = makeLogger(LogPattern);
    spdlog::logger traceLog = makeLogger(TracePattern);

    // Held shared while the observer runs, so that a change waits for it.
    std::shared_mutex observerMutex;
    std::function<void(const SHttpExchange&)> observer; // guarded by observerMutex
};

// Never destroyed: threads that nobody joins may still log while the process ends.
SState& state() {
    static SState& instance = *new SState;
    return instance;
}

const char* nameOf(int level) {
    if (level >= LogFailure)
        return "failure";
    return level >= LogNotice ? "notice" : "detail";
}

// A device must not be able to forge lines of the log, nor to steer the terminal that shows it.
std::string onOneLine(std::string line) {
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return PrintableText(line);
}

std::string traceLine(const SHttpExchange& exchange, const SHttpRound& round) {
    // Masked before the text is escaped: afterwards a secret may no longer look like itself.
    const nlohmann::ordered_json line = {{"method", exchange.method},
                                         {"path", MaskSecrets(exchange.path)},
                                         {"body", MaskSecrets(exchange.body)},
                                         {"status", round.status},
                                         {"ms", std::round(round.milliseconds * 1000) / 1000}};
    return JsonText(line);
}

void showTrace(const SHttpExchange& exchange) {
    const auto show = [&exchange](const SHttpRound& round) {
        state().traceLog.log(spdlog::level::info, spdlog::string_view_t(traceLine(exchange, round)));
    };
    if (exchange.rounds.empty())
        show({exchange.status, exchange.milliseconds});
    for (const SHttpRound& round : exchange.rounds)
        show(round);
}

} // namespace

void SetLogLevel(int level) {
    state().lowestLevel = level;
}

bool IsLogShown(int level) {
    return level >= state().lowestLevel;
}

void WriteLog(int level, const std::string& line) {
    if (IsLogShown(level))
        state().log.info("{} {}", nameOf(level), onOneLine(MaskSecrets(line)));
}

void SetTrace(bool on) {
    state().trace = on;
}

void SetExchangeObserver(std::function<void(const SHttpExchange&)> observer) {
    const std::unique_lock<std::shared_mutex> lock(state().observerMutex);
    state().observer = std::move(observer);
}

void ReportExchange(const SHttpExchange& exchange) {
    if (state().trace)
        showTrace(exchange);
    const std::shared_lock<std::shared_mutex> lock(state().observerMutex);
    if (state().observer)
        state().observer(exchange);
}

} // namespace corvane::refhost
