#include "net/parked_connections.h"

#include "net/sockets.h"

#include <sys/epoll.h>

namespace camsim {

bool CParkedConnections::park(MHD_Connection* connection, int fd,
                              std::optional<std::chrono::milliseconds> duration, Outcome* outcome) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (released_)
        return false;
    const uint64_t turn = ++lastTurn_;
    MHD_suspend_connection(connection);
    SParked& parked = parked_[connection];
    parked = {fd, outcome, turn, std::nullopt};
    if (duration)
        parked.timer = loop_.after(*duration, [=] { wakeUp(connection, turn, Outcome::TimePassed); });
    loop_.watch(fd, EPOLLRDHUP, [=] { wakeUp(connection, turn, Outcome::HungUp); });
    return true;
}

void CParkedConnections::wake(const std::vector<MHD_Connection*>& connections) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (MHD_Connection* connection : connections) {
            const auto parked = parked_.find(connection);
            if (parked != parked_.end())
                resume(parked, Outcome::Woken);
        }
    }
    resumed_();
}

void CParkedConnections::release() {
    const std::lock_guard<std::mutex> lock(mutex_);
    released_ = true;
    while (!parked_.empty())
        resume(parked_.begin(), Outcome::Stopped);
}

void CParkedConnections::wakeUp(MHD_Connection* connection, uint64_t turn, Outcome outcome) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto parked = parked_.find(connection);
        if (parked == parked_.end() || parked->second.turn != turn)
            return;
        // The descriptor may have been closed and used anew since the hang-up was noticed, so it is checked.
        if (outcome == Outcome::HungUp && !PeerHasClosed(parked->second.fd))
            return;
        resume(parked, outcome);
    }
    resumed_();
}

void CParkedConnections::resume(std::map<MHD_Connection*, SParked>::iterator parked, Outcome outcome) {
    MHD_Connection* const connection = parked->first;
    loop_.unwatch(parked->second.fd);
    if (parked->second.timer)
        loop_.cancel(*parked->second.timer);
    *parked->second.outcome = outcome;
    parked_.erase(parked);
    MHD_resume_connection(connection);
}

} // namespace camsim
