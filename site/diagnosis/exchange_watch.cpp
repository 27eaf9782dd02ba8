#include "site/diagnosis/exchange_watch.h"

#include "refhost/base/address.h"

#include <algorithm>
#include <iterator>
#include <shared_mutex>
#include <utility>

namespace corvane::site {
namespace {

constexpr std::size_t Remembered = 64;
constexpr std::size_t MostTimes = 1000;
constexpr std::size_t RememberedBytes = 512; // of a reply

bool IsFailed(const SWatchedExchange& exchange) {
    return exchange.isFailed();
}

bool IsOfSettings(const SWatchedExchange& exchange) {
    return exchange.path == SettingsRequest && exchange.method == "GET";
}

bool IsOfCapability(const SWatchedExchange& exchange) {
    return exchange.path == CapabilityRequest;
}

bool TookTheConnection(const SHttpExchange& exchange) {
    constexpr HttpFailure Without[] = {HttpFailure::NotAsked,    HttpFailure::NameNotFound,
                                       HttpFailure::Unreachable, HttpFailure::Refused,
                                       HttpFailure::OwnLimit,    HttpFailure::Other};
    return std::find(std::begin(Without), std::end(Without), exchange.kind) == std::end(Without);
}

template <class Exchanges, class Predicate>
std::optional<SWatchedExchange> LastThat(const Exchanges& exchanges, Predicate predicate) {
    const auto found = std::find_if(exchanges.rbegin(), exchanges.rend(), predicate);
    return found == exchanges.rend() ? std::nullopt : std::optional<SWatchedExchange>(*found);
}

} // namespace

// All that there are; each learns of the exchanges with its own device.
class CExchangeWatch::CRegister {
public:
    static CRegister& instance() {
        static auto* const one = new CRegister; // never destroyed: late threads may still tell
        return *one;
    }

    void add(CExchangeWatch& watch) {
        const std::unique_lock<std::shared_mutex> lock(mutex_);
        watches_.emplace(watch.address_, &watch);
    }

    // Returns when nothing is being told to the watch any more.
    void remove(CExchangeWatch& watch) {
        const std::unique_lock<std::shared_mutex> lock(mutex_);
        const auto [begin, end] = watches_.equal_range(watch.address_);
        watches_.erase(std::find_if(begin, end, [&](const auto& row) { return row.second == &watch; }));
    }

private:
    CRegister() {
        refhost::SetExchangeObserver([this](const SHttpExchange& exchange) { tell(exchange); });
    }

    void tell(const SHttpExchange& exchange) {
        const std::shared_lock<std::shared_mutex> lock(mutex_);
        const auto [begin, end] = watches_.equal_range(exchange.address);
        std::for_each(begin, end, [&](const auto& row) { row.second->note(exchange); });
    }

    std::shared_mutex mutex_;                             // guards what follows
    std::multimap<std::string, CExchangeWatch*> watches_; // by address
};

CExchangeWatch::CExchangeWatch(const std::string& address) : address_(refhost::ToldAddress(address)) {
    CRegister::instance().add(*this);
}

CExchangeWatch::~CExchangeWatch() {
    CRegister::instance().remove(*this);
}

void CExchangeWatch::note(const SHttpExchange& exchange) {
    SWatchedExchange watched{exchange, FaultOfReply(exchange), ""};
    if (IsOfSettings(watched) && !watched.isFailed())
        watched.missingSetting = MissingSetting(exchange.reply);
    {
        const std::lock_guard<std::mutex> listening(listening_);
        if (listener_)
            listener_(watched);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    wasReached_ = wasReached_ || TookTheConnection(exchange);
    STimes& times = times_[exchange.method + " " + exchange.path.substr(0, exchange.path.find('?'))];
    if (times.milliseconds.size() < MostTimes)
        times.milliseconds.push_back(exchange.milliseconds);
    times.lost += exchange.failure.empty() ? 0 : 1;
    if (refhost::AreExchangeDetailsKept())
        transcript_.push_back(watched);
    else
        watched.reply.resize(std::min(watched.reply.size(), RememberedBytes));
    latest_.push_back(std::move(watched));
    if (latest_.size() > Remembered)
        latest_.pop_front();
}

void CExchangeWatch::setListener(Listener listener) {
    const std::lock_guard<std::mutex> listening(listening_);
    listener_ = std::move(listener);
}

std::optional<SWatchedExchange> CExchangeWatch::lastOf(const std::string& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return LastThat(latest_, [&path](const SWatchedExchange& exchange) {
        return exchange.path.find(path) != std::string::npos;
    });
}

bool CExchangeWatch::wasReached() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return wasReached_;
}

void CExchangeWatch::setCredentialSource(std::string source) {
    const std::lock_guard<std::mutex> lock(mutex_);
    credentialSource_ = std::move(source);
}

std::string CExchangeWatch::credentialSource() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return credentialSource_;
}

std::optional<SWatchedExchange> CExchangeWatch::lastFailingOwn() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return LastThat(latest_, [](const SWatchedExchange& e) {
        return e.isFailed() && !IsOfSettings(e) && !IsOfCapability(e);
    });
}

std::optional<SWatchedExchange>
CExchangeWatch::failed(bool (*isWanted)(const SWatchedExchange& exchange)) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto last = LastThat(latest_, isWanted);
    return last && last->isFailed() ? last : std::nullopt;
}

std::optional<SWatchedExchange> CExchangeWatch::failedSettings() const {
    return failed(IsOfSettings);
}

std::optional<SWatchedExchange> CExchangeWatch::failedCapability() const {
    return failed(IsOfCapability);
}

std::vector<SWatchedExchange> CExchangeWatch::transcript() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return transcript_;
}

std::vector<SAnswerTimes> CExchangeWatch::answerTimes() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SAnswerTimes> all;
    for (const auto& [request, times] : times_) {
        std::vector<double> sorted = times.milliseconds;
        std::sort(sorted.begin(), sorted.end());
        all.push_back({request, sorted.size(), times.lost, sorted[sorted.size() / 2], sorted.back()});
    }
    return all;
}

std::vector<SWatchedExchange> CExchangeWatch::all() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {latest_.begin(), latest_.end()};
}

std::vector<SWatchedExchange> CExchangeWatch::takeFailing() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SWatchedExchange> failing;
    std::copy_if(latest_.begin(), latest_.end(), std::back_inserter(failing), IsFailed);
    const auto capability = LastThat(latest_, IsOfCapability);
    const auto settings = LastThat(latest_, IsOfSettings);
    latest_.clear();
    for (const auto& kept : {capability, settings})
        if (kept)
            latest_.push_back(*kept);
    return failing;
}

} // namespace corvane::site
