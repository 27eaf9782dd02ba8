#include "tools/vornhost/diagnosis/exchange_watch.h"

#include "refhost/base/address.h"

#include <algorithm>
#include <iterator>

namespace corvane::vornhost {
namespace {

constexpr std::size_t Remembered = 64;

bool Failed(const SHttpExchange& exchange) {
    return !exchange.failure.empty();
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
    latest_.push_back(exchange);
    if (latest_.size() > Remembered)
        latest_.pop_front();
}

std::optional<SHttpExchange> CExchangeWatch::lastFailing() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return LastThat(latest_, Failed);
}

std::optional<SHttpExchange> CExchangeWatch::lastOf(const std::string& path) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return LastThat(latest_, [&path](const SHttpExchange& exchange) {
        return exchange.path.find(path) != std::string::npos;
    });
}

std::vector<SHttpExchange> CExchangeWatch::all() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {latest_.begin(), latest_.end()};
}

std::vector<SHttpExchange> CExchangeWatch::takeFailing() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SHttpExchange> failing;
    std::copy_if(latest_.begin(), latest_.end(), std::back_inserter(failing), Failed);
    latest_.clear();
    return failing;
}

} // namespace corvane::vornhost
