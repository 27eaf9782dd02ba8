#include "tools/vornhost/console/task_inbox.h"

#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvane::vornhost {
namespace {

int MakeEventFile() {
    const int file = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (file < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return file;
}

} // namespace

CTaskInbox::CTaskInbox() : file_(MakeEventFile()) {}

CTaskInbox::~CTaskInbox() {
    ::close(file_);
}

void CTaskInbox::post(std::function<void()> task) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    const std::uint64_t one = 1;
    (void)!::write(file_, &one, sizeof one); // fails only when it is readable already
}

void CTaskInbox::run() {
    std::uint64_t count = 0;
    (void)!::read(file_, &count, sizeof count); // fails only when nothing was posted
    std::vector<std::function<void()>> tasks;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks.swap(tasks_);
    }
    for (const std::function<void()>& task : tasks)
        task();
}

} // namespace corvane::vornhost
