#include "events/dry_contact_monitor.h"

#include "events/monitor_request.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace corvane::vorn_utility::v1_0 {
namespace {

using Guard = boost::lock_guard<boost::mutex>;
using Lock = boost::unique_lock<boost::mutex>;

} // namespace

std::map<std::string, boost::shared_ptr<CDryContactMonitor>> CDryContactMonitor::s_dcs;
boost::mutex CDryContactMonitor::s_mutex;
std::string CDryContactMonitor::s_strDryContactStatusUrl;
CDryContactMonitor::TDryContactState (*CDryContactMonitor::s_funGetDryContactStatus)(const std::string&,
                                                                                     int) = nullptr;

std::string DryContactMonitorUrl(const std::string& ipAddress) {
    return "http://" + ipAddress + "/cgi-bin/get_io?mode=monitor";
}

CDryContactMonitor::TDryContactState funGetDryContactStatusfromResponse(const std::string& chunk, int input) {
    const std::string key = "terminal" + std::to_string(input) + " I ";
    const std::size_t at = chunk.find(key);
    if (at == std::string::npos)
        return CDryContactMonitor::DCS_UNKNOWN;
    const std::size_t begin = at + key.size();
    const std::size_t size = std::min(chunk.find("\r\n", begin), chunk.size()) - begin;
    if (chunk.compare(begin, size, "High") == 0)
        return CDryContactMonitor::DCS_HIGH;
    return chunk.compare(begin, size, "Low") == 0 ? CDryContactMonitor::DCS_LOW
                                                  : CDryContactMonitor::DCS_UNKNOWN;
}

CDryContactMonitor::CDryContactMonitor(const std::string& address, const std::string& user,
                                       const std::string& secret, int first, int end)
    : CDryContactMonitor(address, user, secret, first, end, SMonitorTimes()) {}

CDryContactMonitor::CDryContactMonitor(const std::string& address, const std::string& user,
                                       const std::string& secret, int first, int end,
                                       SMonitorTimes monitorTimes)
    : ipAddress(address),
      userName(user),
      password(secret),
      firstIndex(first),
      maxIndex(end),
      lastActivity(monitorTimes.now()),
      times_(std::move(monitorTimes)) {}

CDryContactMonitor::~CDryContactMonitor() {
    {
        const Guard lock(mutex);
        running = false;
        breakTransfer();
    }
    changed_.notify_all();
    if (thread)
        thread->join();
}

std::uint64_t CDryContactMonitor::StartMonitor(unsigned int input, const Listener& callback) {
    Lock lock(mutex);
    changed_.wait(lock, [this] { return !thread || running; });
    if (!thread)
        startThread();
    states[input] = DCS_UNKNOWN;
    callbacks[input] = SRegistered{callback, ++registrations_};
    ++listenerCount;
    return registrations_;
}

void CDryContactMonitor::startThread() {
    gotReply = false;
    lastActivity = times_.now();
    running = true;
    try {
        thread = boost::make_shared<boost::thread>([this] { ThreadFunc(); });
    } catch (...) {
        running = false;
        throw;
    }
}

void CDryContactMonitor::StopMonitor(unsigned int input, boost::optional<std::uint64_t> registration) {
    Lock lock(mutex);
    SRegistered& registered = callbacks[input];
    const std::uint64_t ended = registration.value_or(registered.number);
    if (registered.number == ended) { // else a newer one has its place
        states[input] = DCS_UNKNOWN;
        registered.listener.clear();
    }
    const bool wasCounted = registration != NotRegistered;
    if (wasCounted && --listenerCount == 0) {
        running = false;
        breakTransfer();
        changed_.notify_all();
        const boost::shared_ptr<boost::thread> ending = thread;
        lock.unlock();
        if (ending)
            ending->join();
        lock.lock();
        thread.reset();
        changed_.notify_all();
    } else {
        changed_.wait(lock, [this, ended] { return told_ != ended; });
    }
    lock.unlock();

    boost::shared_ptr<CDryContactMonitor> forgotten; // destroyed, if at all, without the lock
    const Guard registryLock(s_mutex);
    s_dcs[ipAddress].swap(forgotten);
}

CDryContactMonitor::TDryContactState
CDryContactMonitor::GetStateOfInput(unsigned int input, const boost::function<bool()>& isAbandoned) {
    Lock lock(mutex);
    changed_.wait(lock, [&] { return gotReply || (isAbandoned && isAbandoned()); });
    return states[input];
}

void CDryContactMonitor::wakeWaiters() {
    const Guard lock(mutex); // a waiter has either not asked yet, or waits
    changed_.notify_all();
}

void CDryContactMonitor::setBasicPolicy(const SBasicPolicy& policy) {
    const Guard lock(mutex);
    basic_.isRefused = basic_.isRefused || policy.isRefused;
    basic_.onBasicAlone = policy.onBasicAlone;
}

bool CDryContactMonitor::CheckHeartbeat() {
    const Guard lock(mutex);
    const std::time_t now = times_.now();
    if (now - lastActivity <= times_.silence.count())
        return true;
    lastActivity = now;
    breakTransfer();
    return false;
}

void CDryContactMonitor::breakTransfer() {
    if (curl)
        curl->breakOff();
}

void CDryContactMonitor::publish(CMonitorRequest* transfer) {
    const Guard lock(mutex);
    curl = transfer;
    isReplied_ = false;
    // A heartbeat missed between two requests means the one that has ended.
    if (curl)
        curl->forgetBreak();
}

void CDryContactMonitor::ThreadFunc() {
    CMonitorRequest transfer;
    try {
        if (transfer.isMade())
            serve(transfer);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // Short of memory, of which the recorder must not end.
    }
    publish(nullptr);
    if (running)
        tellGivenUp();
}

// Without memory for the request no level ever comes, for which elements wait without a limit.
void CDryContactMonitor::tellGivenUp() {
    try {
        tellLinkLost();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): then they wait
    }
}

void CDryContactMonitor::serve(CMonitorRequest& transfer) {
    const std::string credentials = userName + ":" + password;
    const std::string url = DryContactMonitorUrl(ipAddress);
    CRetryPace pace(times_.retry);
    while (running) {
        if (!transfer.setOptions(credentials, url, isBasicRefused(), HttpWriter, this))
            return;
        publish(&transfer);
        if (!running) // a stop that came before the transfer could be broken off
            return;
        const auto start = std::chrono::steady_clock::now();
        const CMonitorRequest::End end = transfer.perform();
        tellBasicAlone();
        // Not after any reply: a camera that writes and then breaks off would be asked without a pause.
        if (wasReplied() && std::chrono::steady_clock::now() - start >= times_.retry.longest)
            pace.forget();
        if (end == CMonitorRequest::End::Complete) {
            pause(times_.afterClose);
        } else {
            tellLinkLost();
            noteFailure();
            pause(end == CMonitorRequest::End::Refused ? pace.afterRefusal() : pace.afterFailure());
        }
    }
}

bool CDryContactMonitor::isBasicRefused() {
    const Guard lock(mutex);
    return basic_.isRefused;
}

void CDryContactMonitor::tellBasicAlone() {
    boost::function<void()> tellHost;
    {
        const Guard lock(mutex);
        if (isBasicAloneTold_ || !curl || !curl->offersBasicAlone())
            return;
        tellHost = basic_.onBasicAlone;
    }
    isBasicAloneTold_ = true;
    if (tellHost)
        tellHost();
}

bool CDryContactMonitor::wasReplied() {
    const Guard lock(mutex);
    return isReplied_;
}

void CDryContactMonitor::noteFailure() {
    const Guard lock(mutex);
    lastActivity = times_.now();
}

void CDryContactMonitor::pause(std::chrono::milliseconds time) {
    Lock lock(mutex);
    changed_.wait_for(lock, boost::chrono::milliseconds(time.count()), [this] { return !running; });
}

// From 1, whatever the first input: an input beyond those that are read still learns that the link is lost.
void CDryContactMonitor::tellLinkLost() {
    std::vector<std::uint32_t> inputs;
    {
        const Guard lock(mutex);
        for (const auto& entry : callbacks)
            if (entry.first >= 1 && static_cast<std::int64_t>(entry.first) <= maxIndex)
                inputs.push_back(entry.first);
    }
    for (const std::uint32_t input : inputs)
        tell(input, DCS_LINK_LOST);
}

void CDryContactMonitor::tell(std::uint32_t input, TDryContactState state) {
    Listener listener;
    {
        const Guard lock(mutex);
        const auto found = callbacks.find(input);
        if (found == callbacks.end() || found->second.listener.empty())
            return;
        listener = found->second.listener;
        told_ = found->second.number;
    }
    listener(state);
    {
        const Guard lock(mutex);
        told_.reset();
    }
    changed_.notify_all();
}

size_t CDryContactMonitor::HttpWriter(char* data, size_t /*size*/, size_t count, char* self) {
    auto* const monitor = reinterpret_cast<CDryContactMonitor*>(self);
    try {
        if (!monitor->isAccepted())
            return 0;
        monitor->tellBasicAlone();
        monitor->ParseAndDisperseInformation(std::string(data, count));
        return count;
    } catch (...) {
        return 0; // the request fails; no exception passes through libcurl
    }
}

// Whether the reply that is coming is what was asked for.
bool CDryContactMonitor::isAccepted() {
    const Guard lock(mutex);
    return !curl || curl->isAccepted();
}

void CDryContactMonitor::ParseAndDisperseInformation(const std::string& chunk) {
    std::vector<std::pair<std::uint32_t, TDryContactState>> changes;
    {
        const Guard lock(mutex);
        lastActivity = times_.now();
        isReplied_ = true;
        gotReply = true;
        for (int input = firstIndex; input < maxIndex; ++input) {
            const TDryContactState level = funGetDryContactStatusfromResponse(chunk, input);
            if (level == DCS_UNKNOWN)
                continue;
            const auto number = static_cast<std::uint32_t>(input);
            const TDryContactState before = std::exchange(states[number], level);
            if (before != DCS_UNKNOWN && before != level)
                changes.emplace_back(number, level);
        }
    }
    changed_.notify_all();
    for (const auto& [input, level] : changes)
        tell(input, level);
}

} // namespace corvane::vorn_utility::v1_0
