#pragma once

#include "host/api.h"
#include "host/callback.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <utility>

namespace corvane::vorn_utility::v1_0 {

using device_handler::v1_0::CAsyncOp;
using device_handler::v1_0::CCallback;
using device_handler::v1_0::CError;

// A callable that takes and returns nothing.
using CFunction = boost::function<void()>;

// One queued command: a function that performs it and tells `callback` how it went. It is either begun or
// cancelled, never both, so that its callback runs exactly once.
class VORN_HOST_API CAsyncCmdDetails {
public:
    CAsyncCmdDetails(CFunction theCommand, CCallback theCallback)
        : command(std::move(theCommand)), callback(std::move(theCallback)) {}

    // True for the first of both calls, on whatever threads.
    bool begin() { return !isDecided_.exchange(true); }
    bool abandon() { return !isDecided_.exchange(true); }

    const CFunction command;
    const CCallback callback;

private:
    std::atomic<bool> isDecided_{false};
};

// Take a command back: its callback receives (OperationFailed, General, "cancelled") on this thread, unless
// the command has begun; it then delivers its own result. The first is for a command that the worker has
// taken, the second for one that still waited. What a callback throws is dropped.
VORN_HOST_API void Op_Cancel(const boost::shared_ptr<CAsyncCmdDetails>& details);
VORN_HOST_API void Op_NotifyCanceled(const boost::shared_ptr<CAsyncCmdDetails>& details);

// A queue of commands for one worker, without limit: nothing is merged or replaced. Owned by shared pointers.
// Every operation may be called from any thread.
template <class Details>
class CAsyncQueueBase : public boost::enable_shared_from_this<CAsyncQueueBase<Details>> {
public:
    struct SEntry {
        boost::weak_ptr<CAsyncQueueBase> owner;
        typename std::list<boost::shared_ptr<SEntry>>::iterator
            position; // the list's end once it has left it
        bool cancelled = false;
        Details details;
    };

    CAsyncQueueBase() = default;
    virtual ~CAsyncQueueBase() = default;
    CAsyncQueueBase(const CAsyncQueueBase&) = delete;
    CAsyncQueueBase& operator=(const CAsyncQueueBase&) = delete;

    // Appends a command and wakes the worker; a closed queue cancels it at once. The handle cancels it, also
    // after the queue has gone.
    CAsyncOp push_back(Details details) {
        const auto entry = boost::make_shared<SEntry>();
        entry->owner = this->shared_from_this();
        entry->details = std::move(details);
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            entry->position = entries_.insert(entries_.end(), entry);
        }
        if (isClosed_)
            cancel(entry);
        notify();
        return CAsyncOp([entry] { Cancel(entry); });
    }

    // What the handle does.
    static void Cancel(const boost::shared_ptr<SEntry>& entry) {
        if (const boost::shared_ptr<CAsyncQueueBase> queue = entry->owner.lock())
            queue->cancel(entry);
        else
            Op_Cancel(entry->details); // the entry left the list before the queue went
    }

    void cancel(const boost::shared_ptr<SEntry>& entry) {
        bool hasWaited = false;
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            if (std::exchange(entry->cancelled, true))
                return;
            hasWaited = entry->position != entries_.end();
            if (hasWaited)
                entries_.erase(std::exchange(entry->position, entries_.end()));
        }
        hasWaited ? Op_NotifyCanceled(entry->details) : Op_Cancel(entry->details); // with no lock held
    }

    // From here on no command waits: those that do are cancelled, in order.
    void close() {
        isClosed_ = true;
        while (const boost::shared_ptr<SEntry> entry = front())
            cancel(entry);
    }

    // Takes the first command out, which runs if it can still be begun; empty when none waits.
    Details take() {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (entries_.empty())
            return {};
        const boost::shared_ptr<SEntry> entry = entries_.front();
        entries_.pop_front();
        entry->position = entries_.end();
        return entry->details;
    }

    // Wakes the worker.
    virtual void notify() = 0;

protected:
    std::mutex& mutex() { return mutex_; }
    // With the mutex held.
    bool isEmpty() const { return entries_.empty(); }

private:
    boost::shared_ptr<SEntry> front() {
        const std::lock_guard<std::mutex> guard(mutex_);
        return entries_.empty() ? boost::shared_ptr<SEntry>() : entries_.front();
    }

    std::mutex mutex_; // guards the list, and every entry's position and flag
    std::list<boost::shared_ptr<SEntry>> entries_;
    std::atomic<bool> isClosed_{false};
};

// The queue of a worker thread.
class VORN_HOST_API CThreadAsyncQueue : public CAsyncQueueBase<boost::shared_ptr<CAsyncCmdDetails>> {
public:
    // Waits while the queue is empty, until it is notified or, when one is given, the time is over.
    void wait();
    void wait(std::chrono::milliseconds atMost);

    void notify() override;

private:
    std::condition_variable changed_; // with mutex()
    bool isNotified_ = false;         // guarded by mutex(); so that no notification is lost
};

} // namespace corvane::vorn_utility::v1_0
