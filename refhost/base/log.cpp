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

spdlog::logger MakeLogger(const char* pattern) {
    spdlog::logger logger("vorn", std::make_shared<spdlog::sinks::stderr_sink_mt>());
    logger.set_pattern(pattern);
    logger.set_level(spdlog::level::trace);
    return logger;
}

struct SState {
    std::atomic<int> lowestLevel{LogFailure};
    std::atomic<bool> trace{false};
    std::atomic<bool> keepsDetails{false};
    std::atomic<bool> isLogObserved{false};
    spdlog::logger log = MakeLogger(LogPattern);
    spdlog::logger traceLog = MakeLogger(TracePattern);

    // Held shared while an observer runs, so that a change waits for it.
    std::shared_mutex observerMutex;
    std::function<void(const SHttpExchange&)> observer;       // guarded by observerMutex
    std::function<void(int, const std::string&)> logObserver; // likewise
};

// Never destroyed: threads that nobody joins may still log while the process ends.
SState& State() {
    static SState& instance = *new SState;
    return instance;
}

const char* NameOf(int level) {
    if (level >= LogFailure)
        return "failure";
    return level >= LogNotice ? "notice" : "detail";
}

// A device must not be able to forge lines of the log, nor to steer the terminal that shows it.
std::string OnOneLine(std::string line) {
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return PrintableText(line);
}

std::string TraceLine(const SHttpExchange& exchange, const SHttpRound& round) {
    // Masked before the text is escaped: afterwards a secret may no longer look like itself.
    const nlohmann::ordered_json line = {{"method", exchange.method},
                                         {"path", MaskSecrets(exchange.path)},
                                         {"body", MaskSecrets(exchange.body)},
                                         {"status", round.status},
                                         {"ms", std::round(round.milliseconds * 1000) / 1000}};
    return JsonText(line);
}

void ShowTrace(const SHttpExchange& exchange) {
    const auto show = [&exchange](const SHttpRound& round) {
        State().traceLog.log(spdlog::level::info, spdlog::string_view_t(TraceLine(exchange, round)));
    };
    if (exchange.rounds.empty())
        show({exchange.status, exchange.milliseconds});
    for (const SHttpRound& round : exchange.rounds)
        show(round);
}

} // namespace

void SetLogLevel(int level) {
    State().lowestLevel = level;
}

bool IsLogShown(int level) {
    return level >= State().lowestLevel || State().isLogObserved;
}

void WriteLog(int level, const std::string& line) {
    if (!IsLogShown(level))
        return;
    const std::string masked = OnOneLine(MaskSecrets(line));
    if (level >= State().lowestLevel)
        State().log.info("{} {}", NameOf(level), masked);
    const std::shared_lock<std::shared_mutex> lock(State().observerMutex);
    if (State().logObserver)
        State().logObserver(level, masked);
}

void SetLogObserver(std::function<void(int, const std::string&)> observer) {
    const std::unique_lock<std::shared_mutex> lock(State().observerMutex);
    State().isLogObserved = observer != nullptr;
    State().logObserver = std::move(observer);
}

void KeepExchangeDetails(bool on) {
    State().keepsDetails = on;
}

bool AreExchangeDetailsKept() {
    return State().keepsDetails;
}

void SetTrace(bool on) {
    State().trace = on;
}

void SetExchangeObserver(std::function<void(const SHttpExchange&)> observer) {
    const std::unique_lock<std::shared_mutex> lock(State().observerMutex);
    State().observer = std::move(observer);
}

void ReportExchange(const SHttpExchange& exchange) {
    if (State().trace)
        ShowTrace(exchange);
    const std::shared_lock<std::shared_mutex> lock(State().observerMutex);
    if (State().observer)
        State().observer(exchange);
}

} // namespace corvane::refhost
