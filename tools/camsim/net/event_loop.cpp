#include "net/event_loop.h"

#include <array>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace camsim {
namespace {

int Descriptor(int fd, const char* what) {
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return fd;
}

void AddToEpoll(int epoll, int fd, uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.fd = fd;
    if (epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) == 0)
        return;
    if (errno != EEXIST || epoll_ctl(epoll, EPOLL_CTL_MOD, fd, &event) != 0)
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
}

} // namespace

CEventLoop::CEventLoop()
    : epoll_(Descriptor(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      wakeUp_(Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")) {
    AddToEpoll(epoll_, wakeUp_, EPOLLIN);
}

CEventLoop::~CEventLoop() {
    stop();
    close(wakeUp_);
    close(epoll_);
}

void CEventLoop::start() {
    thread_ = std::thread([this] { run(); });
}

void CEventLoop::stop() {
    stopping_ = true;
    wake();
    if (thread_.joinable())
        thread_.join();
}

void CEventLoop::watch(int fd, uint32_t events, Task task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    AddToEpoll(epoll_, fd, events);
    tasks_[fd] = std::make_shared<Task>(std::move(task));
}

void CEventLoop::unwatch(int fd) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (tasks_.erase(fd) != 0)
        epoll_ctl(epoll_, EPOLL_CTL_DEL, fd, nullptr);
}

CEventLoop::TimerId CEventLoop::after(std::chrono::milliseconds delay, Task task) {
    TimerId timer = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        timer = ++lastTimer_;
        const Clock::time_point due = Clock::now() + delay;
        timers_.emplace(Deadline(due, timer), std::move(task));
        due_.emplace(timer, due);
    }
    wake();
    return timer;
}

void CEventLoop::cancel(TimerId timer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto due = due_.find(timer);
    if (due == due_.end())
        return;
    timers_.erase(Deadline(due->second, timer));
    due_.erase(due);
}

void CEventLoop::run() {
    std::array<epoll_event, 64> events;
    for (;;) {
        const int count =
            epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), millisecondsToWait());
        if (stopping_)
            return;
        for (int i = 0; i < count; ++i)
            runTaskOf(events[static_cast<size_t>(i)].data.fd);
        runDueTimers();
    }
}

void CEventLoop::wake() {
    const uint64_t one = 1;
    // A full counter wakes the loop as well, so nothing is lost when it cannot be raised further.
    [[maybe_unused]] const ssize_t written = write(wakeUp_, &one, sizeof one);
}

int CEventLoop::millisecondsToWait() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (timers_.empty())
        return -1;
    const auto left = timers_.begin()->first.first - Clock::now();
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::max<int64_t>(0, std::min<int64_t>(milliseconds, 60'000)));
}

// Only those that are due when it begins: a task that schedules itself again at once would otherwise keep the
// loop from its descriptors.
void CEventLoop::runDueTimers() {
    const Clock::time_point now = Clock::now();
    for (;;) {
        Task task;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (stopping_ || timers_.empty() || timers_.begin()->first.first > now)
                return;
            task = std::move(timers_.begin()->second);
            due_.erase(timers_.begin()->first.second);
            timers_.erase(timers_.begin());
        }
        task();
    }
}

void CEventLoop::runTaskOf(int fd) {
    if (fd == wakeUp_) {
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = read(wakeUp_, &count, sizeof count);
        return;
    }
    std::shared_ptr<Task> task;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = tasks_.find(fd);
        if (found == tasks_.end())
            return;
        task = found->second;
    }
    (*task)();
}

} // namespace camsim
