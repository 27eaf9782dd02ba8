#include "tools/vornhost/diagnosis/exchange_watch.h"

#include "refhost/base/address.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace corvane::vornhost {
namespace {

constexpr std::size_t Remembered = 64;
constexpr std::size_t MostTimes = 1000;

bool Failed(const SHttpExchange& exchange) {
    return !exchange.failure.empty();
}

bool IsOfSettings(const SHttpExchange& exchange) {
    return exchange.path == "/cgi-bin/setdata" && exchange.method == "GET";
}

template <class Predicate>
std::optional<SHttpExchange> LastThat(const std::deque<SHttpExchange>& exchanges, Predicate predicate) {
    const auto found = std::find_if(exchanges.rbegin(), exchanges.rend(), predicate);
    return found == exchanges.rend() ? std::nullopt : std::optional(*found);
}

} // namespace

CExchangeWatch::CExchangeWatch(const std::string& address) : address_(refhost::ToldAddress(address)) {
    refhost::SetExchangeObserver([this](const SHttpExchange& exchange) { note(exchange); });
}

CExchangeWatch::~CExchangeWatch() {
    refhost::SetExchangeObserver({});
}

void CExchangeWatch::note(const SHttpExchange& exchange) {
    // Queries of an earlier device may still be ending.
    if (exchange.address != address_)
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    hasAnswered_ = hasAnswered_ || exchange.status != 0;
    STimes& times = times_[exchange.method + " " + exchange.path.substr(0, exchange.path.find('?'))];
    if (times.milliseconds.size() < MostTimes)
        times.milliseconds.push_back(exchange.milliseconds);
    times.lost += Failed(exchange) ? 1 : 0;
    if (refhost::AreExchangeDetailsKept())
        transcript_.push_back(exchange);
    latest_.push_back(exchange);
    if (latest_.size() > Remembered)
        latest_.pop_front();
}

std::optional<SHttpExchange> CExchangeWatch::lastOf(const std::string& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return LastThat(latest_, [&path](const SHttpExchange& exchange) {
        return exchange.path.find(path) != std::string::npos;
    });
}

bool CExchangeWatch::hasAnswered() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return hasAnswered_;
}

void CExchangeWatch::setCredentialSource(std::string source) {
    const std::lock_guard<std::mutex> lock(mutex_);
    credentialSource_ = std::move(source);
}

std::string CExchangeWatch::credentialSource() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return credentialSource_;
}

std::optional<SHttpExchange> CExchangeWatch::lastFailingOwn() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return LastThat(latest_, [](const SHttpExchange& e) { return Failed(e) && !IsOfSettings(e); });
}

std::optional<SHttpExchange> CExchangeWatch::failedSettings() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto settings = LastThat(latest_, IsOfSettings);
    return settings && Failed(*settings) ? settings : std::nullopt;
}

std::vector<SHttpExchange> CExchangeWatch::transcript() const {
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

std::vector<SHttpExchange> CExchangeWatch::all() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {latest_.begin(), latest_.end()};
}

std::vector<SHttpExchange> CExchangeWatch::takeFailing() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SHttpExchange> failing;
    std::copy_if(latest_.begin(), latest_.end(), std::back_inserter(failing), Failed);
    const auto settings = LastThat(latest_, IsOfSettings);
    latest_.clear();
    if (settings)
        latest_.push_back(*settings);
    return failing;
}

} // namespace corvane::vornhost
