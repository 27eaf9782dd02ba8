#include "events/dry_contact_monitor.h"

#include "host/stray_fold.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <utility>
#include <vector>

namespace corvane::vorn_utility::v1_0 {
namespace {

constexpr long ConnectSeconds = 15;
constexpr long HttpOk = 200;
// Any that a camera may ask for: of the others a stranger could learn the password or this machine's name.
constexpr unsigned long AuthSchemes = CURLAUTH_DIGEST | CURLAUTH_BASIC;
constexpr std::size_t LargestHeader = std::size_t{256} << 10;
// The request, the answer to a challenge, and the answer to a nonce that had grown old by then.
constexpr int MostRounds = 3;
constexpr long RefusedStatuses[] = {401, 403, 404};
constexpr int LongestPoll = std::numeric_limits<int>::max(); // milliseconds; what happens wakes it

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

// The long-lived request. libcurl's handles are used on the thread that made them; the one call that its
// multi interface allows from others is the one that wakes that thread.
class CDryContactMonitor::CTransfer {
public:
    CTransfer() : easy_(curl_easy_init()), multi_(curl_multi_init()) {
        if (isMade())
            curl_easy_reset(easy_);
    }
    ~CTransfer() {
        curl_easy_cleanup(easy_);
        curl_multi_cleanup(multi_);
    }
    CTransfer(const CTransfer&) = delete;
    CTransfer& operator=(const CTransfer&) = delete;

    bool isMade() const { return easy_ && multi_; }

    bool setOptions(const std::string& credentials, const std::string& url, unsigned long authSchemes,
                    CDryContactMonitor* monitor) {
        return set(CURLOPT_NOSIGNAL, 1L) && set(CURLOPT_TCP_NODELAY, 1L) &&
               set(CURLOPT_USERPWD, credentials.c_str()) && set(CURLOPT_URL, url.c_str()) &&
               set(CURLOPT_HTTPAUTH, authSchemes) && set(CURLOPT_WRITEFUNCTION, HttpWriter) &&
               set(CURLOPT_WRITEDATA, monitor) && set(CURLOPT_CONNECTTIMEOUT, ConnectSeconds) &&
               // Beyond what the camera needs: cameras are on the recorder's own network, an address that
               // looks like another protocol's is none, and a name server must not hold up a stop.
               set(CURLOPT_PROXY, "") && set(CURLOPT_PROTOCOLS_STR, "http") && set(CURLOPT_QUICK_EXIT, 1L) &&
               set(CURLOPT_HEADERFUNCTION, takeHeaderLine) && set(CURLOPT_HEADERDATA, this) &&
               set(CURLOPT_DEBUGFUNCTION, seeHeaderLine) && set(CURLOPT_DEBUGDATA, this) &&
               set(CURLOPT_VERBOSE, 1L) && set(CURLOPT_PREREQFUNCTION, takeRound) &&
               set(CURLOPT_PREREQDATA, this);
    }

    enum class End {
        Complete, // the camera ended its reply
        Refused,  // it will not be asked this, or not by us
        Failed,   // any other end, a break included
    };

    // Runs the request to its end.
    End perform() {
        headerBytes_ = 0;
        rounds_ = 0;
        strayFold_ = {};
        if (curl_multi_add_handle(multi_, easy_) != CURLM_OK)
            return End::Failed;
        const CURLcode result = runToItsEnd();
        curl_multi_remove_handle(multi_, easy_);
        const long answer = status();
        const bool isWhole = result == CURLE_OK || result == CURLE_WRITE_ERROR || rounds_ > MostRounds;
        if (isWhole && std::find(std::begin(RefusedStatuses), std::end(RefusedStatuses), answer) !=
                           std::end(RefusedStatuses))
            return End::Refused;
        return result == CURLE_OK && answer == HttpOk ? End::Complete : End::Failed;
    }

    // Of the reply that is coming, or came last.
    long status() const {
        long status = 0;
        curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
        return status;
    }

    // Whether the camera has asked for credentials in this request, and for Basic ones alone.
    bool offersBasicAlone() const {
        long offered = 0;
        curl_easy_getinfo(easy_, CURLINFO_HTTPAUTH_AVAIL, &offered);
        return (static_cast<unsigned long>(offered) & AuthSchemes) == CURLAUTH_BASIC;
    }

    // The one operation for other threads. Of a request that is not under way it breaks off the next.
    void breakOff() {
        broken_ = true;
        curl_multi_wakeup(multi_);
    }
    void forgetBreak() { broken_ = false; }

private:
    template <class Value>
    bool set(CURLoption option, Value value) {
        return curl_easy_setopt(easy_, option, value) == CURLE_OK;
    }

    CURLcode runToItsEnd() {
        for (int active = 1; !broken_;) {
            if (curl_multi_perform(multi_, &active) != CURLM_OK)
                return CURLE_FAILED_INIT;
            if (active == 0)
                break;
            if (curl_multi_poll(multi_, nullptr, 0, LongestPoll, nullptr) != CURLM_OK)
                return CURLE_FAILED_INIT;
        }
        int left = 0;
        const CURLMsg* const message = curl_multi_info_read(multi_, &left);
        return message ? message->data.result : CURLE_ABORTED_BY_CALLBACK; // broken off
    }

    // libcurl keeps each line, those of a trailer behind the body too.
    static size_t takeHeaderLine(char* /*line*/, size_t /*size*/, size_t count, void* transfer) {
        auto& itself = *static_cast<CTransfer*>(transfer);
        itself.headerBytes_ += count;
        return itself.headerBytes_ > LargestHeader || itself.strayFold_.isFound() ? 0 : count;
    }

    static int seeHeaderLine(CURL* /*curl*/, curl_infotype kind, char* data, size_t size, void* transfer) {
        if (kind == CURLINFO_HEADER_IN)
            static_cast<CTransfer*>(transfer)->strayFold_.takeHeaderLine(data, size);
        return 0;
    }

    // A camera that asks for credentials once more than one that means it is refused.
    static int takeRound(void* transfer, char* /*peerIp*/, char* /*ownIp*/, int /*peerPort*/,
                         int /*ownPort*/) {
        return ++static_cast<CTransfer*>(transfer)->rounds_ > MostRounds ? CURL_PREREQFUNC_ABORT
                                                                         : CURL_PREREQFUNC_OK;
    }

    CURL* const easy_;
    CURLM* const multi_;
    std::size_t headerBytes_ = 0; // of the request under way
    int rounds_ = 0;              // likewise
    CStrayFold strayFold_;        // likewise
    std::atomic<bool> broken_{false};
};

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

void CDryContactMonitor::publish(CTransfer* transfer) {
    const Guard lock(mutex);
    curl = transfer;
    isReplied_ = false;
    // A heartbeat missed between two requests means the one that has ended.
    if (curl)
        curl->forgetBreak();
}

void CDryContactMonitor::ThreadFunc() {
    CTransfer transfer;
    if (!transfer.isMade())
        return;
    try {
        serve(transfer);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // Short of memory. The recorder must not end of it; elements miss the heartbeat and tell the end.
    }
    publish(nullptr);
}

void CDryContactMonitor::serve(CTransfer& transfer) {
    const std::string credentials = userName + ":" + password;
    const std::string url = DryContactMonitorUrl(ipAddress);
    CRetryPace pace(times_.retry);
    while (running) {
        if (!transfer.setOptions(credentials, url, allowedSchemes(), this))
            return;
        publish(&transfer);
        if (!running) // a stop that came before the transfer could be broken off
            return;
        const auto start = std::chrono::steady_clock::now();
        const CTransfer::End end = transfer.perform();
        tellBasicAlone();
        // Not after any reply: a camera that writes and then breaks off would be asked without a pause.
        if (wasReplied() && std::chrono::steady_clock::now() - start >= times_.retry.longest)
            pace.forget();
        if (end == CTransfer::End::Complete) {
            pause(times_.afterClose);
        } else {
            tellLinkLost();
            noteFailure();
            pause(end == CTransfer::End::Refused ? pace.afterRefusal() : pace.afterFailure());
        }
    }
}

unsigned long CDryContactMonitor::allowedSchemes() {
    const Guard lock(mutex);
    return basic_.isRefused ? CURLAUTH_DIGEST : AuthSchemes;
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
    return !curl || curl->status() == HttpOk;
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
