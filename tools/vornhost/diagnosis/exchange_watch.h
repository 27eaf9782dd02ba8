#pragma once

#include "tools/vornhost/names.h"

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// Remembers the latest HTTP exchanges with one device, so that the program can tell what was asked when
// something fails. One at a time in the process. Callable from any thread.
class CExchangeWatch {
public:
    explicit CExchangeWatch(const std::string& address);
    ~CExchangeWatch();
    CExchangeWatch(const CExchangeWatch&) = delete;
    CExchangeWatch& operator=(const CExchangeWatch&) = delete;

    // The latest that failed; the latest whose path holds the text.
    std::optional<SHttpExchange> lastFailing() const;
    std::optional<SHttpExchange> lastOf(const std::string& path) const;

    // Oldest first.
    std::vector<SHttpExchange> all() const;
    // Forgets all; hands those out that failed.
    std::vector<SHttpExchange> takeFailing();

private:
    void note(const SHttpExchange& exchange);

    const std::string address_;
    mutable std::mutex mutex_; // guards latest_
    std::deque<SHttpExchange> latest_;
};

} // namespace corvane::vornhost
