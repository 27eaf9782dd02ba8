#pragma once

#include "site/base/names.h"
#include "site/diagnosis/reply_checks.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// How long a device took for one kind of request, in ms.
struct SAnswerTimes {
    std::string request; // method and path, without the query
    std::size_t count = 0;
    std::size_t lost = 0; // failed
    double median = 0;
    double longest = 0;
};

// An exchange, and what is wrong with a reply that looks like success.
struct SWatchedExchange : SHttpExchange {
    std::optional<SReplyFault> fault;
    std::string missingSetting; // of a whole dump: the first that a recorder needs and that it lacks

    bool isFailed() const { return !failure.empty() || fault; }
};

// Remembers the latest HTTP exchanges with one device, so that the program can tell what was asked when
// something fails. Callable from any thread.
class CExchangeWatch {
public:
    explicit CExchangeWatch(const std::string& address);
    ~CExchangeWatch();
    CExchangeWatch(const CExchangeWatch&) = delete;
    CExchangeWatch& operator=(const CExchangeWatch&) = delete;

    // Is told each exchange, on the thread that made it; must return at once and not use the watch. None is
    // being told any more once this returns.
    using Listener = std::function<void(const SWatchedExchange& exchange)>;
    void setListener(Listener listener);

    // The latest whose path holds the text.
    std::optional<SWatchedExchange> lastOf(const std::string& path) const;
    // The latest that failed but was no look at the settings or the capability.
    std::optional<SWatchedExchange> lastFailingOwn() const;
    // The latest such look when that failed.
    std::optional<SWatchedExchange> failedSettings() const;
    std::optional<SWatchedExchange> failedCapability() const;

    // Whether the device has taken a connection since the watch began.
    bool wasReached() const;

    // Where the user of the requests comes from, for people ("the family's default").
    void setCredentialSource(std::string source);
    std::string credentialSource() const;

    // All since the watch began, where exchanges' details are kept; oldest first.
    std::vector<SWatchedExchange> transcript() const;
    // Of all since the watch began, by request.
    std::vector<SAnswerTimes> answerTimes() const;
    // Oldest first.
    std::vector<SWatchedExchange> all() const;
    // Forgets all but the last looks at the settings and at the capability, which the answers of calls rest
    // on; hands those out that failed.
    std::vector<SWatchedExchange> takeFailing();

private:
    class CRegister;

    void note(const SHttpExchange& exchange);
    std::optional<SWatchedExchange> failed(bool (*isWanted)(const SWatchedExchange& exchange)) const;

    const std::string address_;
    std::mutex listening_; // guards the next; taken before mutex_
    Listener listener_;

    mutable std::mutex mutex_; // guards what follows
    std::deque<SWatchedExchange> latest_;
    std::vector<SWatchedExchange> transcript_;
    bool wasReached_ = false;
    struct STimes {
        std::vector<double> milliseconds; // the first of them, of a watch that goes on for long
        std::size_t lost = 0;
    };
    std::map<std::string, STimes> times_; // by request
    std::string credentialSource_;
};

} // namespace corvane::site
