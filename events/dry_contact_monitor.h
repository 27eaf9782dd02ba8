#pragma once

#include "events/retry_pace.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>

namespace corvane::vorn_utility::v1_0 {

class CMonitorRequest;

// The times of a monitor, and the clock of its heartbeat.
struct SMonitorTimes {
    std::chrono::milliseconds afterClose{250}; // before the request is made again that the camera ended
    SRetryTimes retry; // forgotten after a request that was replied to and lasted the longest of a failure
    std::chrono::seconds silence{16}; // longer, and the camera does not count as alive
    boost::function<std::time_t()> now = [] { return std::time(nullptr); };
};

// Basic authentication, which shows the password to whoever listens.
struct SBasicPolicy {
    bool isRefused = false; // a Digest challenge alone is answered
    // Told once that the camera offers nothing better; on the monitor's thread, without a lock. May be empty.
    boost::function<void()> onBasicAlone;
};

// Watches the alarm inputs (dry contacts; the camera's terminals) of the camera at one address, with one
// request that the camera keeps open and writes to ("/cgi-bin/get_io?mode=monitor"). Keeps the last level of
// each input and tells changes to listeners, one for each input. It must be owned by a boost::shared_ptr.
//
// Inputs are numbered as the camera numbers its terminals. The operations may be called from any thread; none
// of StartMonitor, StopMonitor and the destructor from a listener of the same monitor.
class CDryContactMonitor : public boost::enable_shared_from_this<CDryContactMonitor> {
public:
    enum TDryContactState {
        DCS_UNKNOWN = 0, // not reported yet
        DCS_LOW = 1,
        DCS_HIGH = 2,
        DCS_LINK_LOST = 3, // the request has failed; told to listeners, never stored
    };
    using Listener = boost::function<void(TDryContactState)>;

    // `address` is the camera's host name or dotted address, with ":PORT" where its web port is not 80; the
    // levels of the inputs from `first` to before `end` are read. Throws boost::thread_resource_error.
    CDryContactMonitor(const std::string& address, const std::string& user, const std::string& secret,
                       int first, int end);
    CDryContactMonitor(const std::string& address, const std::string& user, const std::string& secret,
                       int first, int end, SMonitorTimes monitorTimes);
    // Ends the request and joins its thread.
    virtual ~CDryContactMonitor();
    CDryContactMonitor(const CDryContactMonitor&) = delete;
    CDryContactMonitor& operator=(const CDryContactMonitor&) = delete;

    // Makes `callback` the listener of `input` in place of any other, and starts the request unless it runs;
    // a stop that is under way is waited for. Each call is matched by one of StopMonitor, which takes the
    // number that is returned, never 0. The first level of an input is not told, only what follows;
    // DCS_LINK_LOST is told to the inputs from 1 to `end`, included. `callback` is called on the monitor's
    // thread, without a lock, one call after another; it must not throw, and while it runs, no other listener
    // is called. Throws boost::thread_resource_error when there can be no thread; nothing has been registered
    // then.
    std::uint64_t StartMonitor(unsigned int input, const Listener& callback);

    // Takes away the listener that `registration` stands for, if `input` still has it; whichever it has
    // without a registration; none with NotRegistered, for who could not register. What is taken away is not
    // running and will not be called once this returns. With the last listener the request ends, at once. The
    // registry forgets the monitor, whoever else uses it.
    void StopMonitor(unsigned int input, boost::optional<std::uint64_t> registration = {});

    static constexpr std::uint64_t NotRegistered = 0;

    // The last level of `input`. Waits until the camera has written something, however long that takes, or
    // `isAbandoned` answers true, which is asked now and at each wakeWaiters().
    TDryContactState GetStateOfInput(unsigned int input, const boost::function<bool()>& isAbandoned = {});
    void wakeWaiters();

    // From the next request on. Basic that was refused once stays refused.
    void setBasicPolicy(const SBasicPolicy& policy);

    // Whether the camera has written in time. When it has not, ends the request, which then counts as failed
    // and is made again, and allows the camera the same time anew.
    bool CheckHeartbeat();

    // The thread's body.
    void ThreadFunc();
    // Takes in what the camera has written. A line in two chunks is not put together.
    void ParseAndDisperseInformation(const std::string& chunk);
    // libcurl's write callback; `self` is the monitor. What comes with another status than 200 is not taken
    // in, and ends the request.
    static size_t HttpWriter(char* data, size_t size, size_t count, char* self);

    // The monitors by their cameras' addresses, so that all users of a camera share one. A null entry counts
    // as none.
    static std::map<std::string, boost::shared_ptr<CDryContactMonitor>> s_dcs; // guarded by s_mutex
    static boost::mutex s_mutex; // never held while a monitor's mutex is taken

    // Reserved hooks, guarded by s_mutex; emptied at each attachment, read by nobody.
    static std::string s_strDryContactStatusUrl;
    static TDryContactState (*s_funGetDryContactStatus)(const std::string& chunk, int input);

private:
    void startThread();
    void breakTransfer(); // mutex is held
    void publish(CMonitorRequest* transfer);
    void serve(CMonitorRequest& transfer);
    bool isBasicRefused();
    bool wasReplied();
    bool isAccepted();
    void noteFailure();
    void pause(std::chrono::milliseconds time);
    void tellLinkLost();
    void tellGivenUp();
    void tellBasicAlone();
    void tell(std::uint32_t input, TDryContactState state);

    // A listener, and the number of its registration.
    struct SRegistered {
        Listener listener; // empty: none
        std::uint64_t number = NotRegistered;
    };
    // NOLINTBEGIN(readability-identifier-naming): as the interface names them
    std::map<std::uint32_t, SRegistered> callbacks;
    std::map<std::uint32_t, TDryContactState> states; // none counts as DCS_UNKNOWN
    // Guards `callbacks`, `states` and every member below that says so; not held while listeners run.
    boost::mutex mutex;
    boost::shared_ptr<boost::thread> thread; // empty while none runs; guarded by mutex
    const std::string ipAddress;
    const std::string userName;
    const std::string password;
    std::atomic<bool> running{false}; // the thread goes on; changed under mutex
    std::int32_t listenerCount = 0;   // calls of StartMonitor without their StopMonitor; guarded by mutex
    const std::int32_t firstIndex;
    const std::int32_t maxIndex;
    CMonitorRequest* curl = nullptr; // the thread's, while it has one; guarded by mutex
    bool gotReply = false;           // guarded by mutex
    std::time_t lastActivity = 0;    // the last chunk, failure or missed heartbeat; guarded by mutex
    // NOLINTEND(readability-identifier-naming)

    const SMonitorTimes times_;
    std::uint64_t registrations_ = 0;     // so far; guarded by mutex
    boost::optional<std::uint64_t> told_; // the registration whose listener runs; guarded by mutex
    bool isReplied_ = false;              // the request under way has had a chunk; guarded by mutex
    SBasicPolicy basic_;                  // guarded by mutex
    bool isBasicAloneTold_ = false;       // the thread's
    boost::condition_variable changed_;   // of `thread`, `running`, `gotReply`, `told_`; with mutex
};

// The request that a monitor makes, its address as the constructor takes it.
std::string DryContactMonitorUrl(const std::string& ipAddress);

// What a chunk says of one terminal: "terminal1 I High", to the letter, up to the end of the line or chunk.
CDryContactMonitor::TDryContactState funGetDryContactStatusfromResponse(const std::string& chunk, int input);

} // namespace corvane::vorn_utility::v1_0
