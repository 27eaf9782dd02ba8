#include "net/glib_thread.h"

#include <cerrno>
#include <cstdint>
#include <glib-unix.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace camsim {
namespace {

int MakeEventDescriptor() {
    const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return fd;
}

} // namespace

CGlibThread::CGlibThread() : context_(g_main_context_new()), wakeUp_(MakeEventDescriptor()) {
    GSource* source = g_unix_fd_source_new(wakeUp_, G_IO_IN);
    g_source_set_callback(source, G_SOURCE_FUNC(&CGlibThread::onWakeUp), this, nullptr);
    g_source_attach(source, context_);
    g_source_unref(source);
}

CGlibThread::~CGlibThread() {
    stop([] {});
    g_main_context_unref(context_);
    close(wakeUp_);
}

void CGlibThread::start() {
    thread_ = std::thread([this] { run(); });
}

void CGlibThread::stop(Task last) {
    if (!thread_.joinable())
        return;
    post([this, last = std::move(last)] {
        last();
        stopping_ = true;
    });
    thread_.join();
}

void CGlibThread::post(Task task) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    const uint64_t one = 1;
    // A full counter wakes the thread as well, so nothing is lost when it cannot be raised further.
    [[maybe_unused]] const ssize_t written = write(wakeUp_, &one, sizeof one);
}

gboolean CGlibThread::onWakeUp(gint fd, GIOCondition, gpointer self) {
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(fd, &count, sizeof count);
    static_cast<CGlibThread*>(self)->runTasks();
    return G_SOURCE_CONTINUE;
}

void CGlibThread::run() {
    g_main_context_push_thread_default(context_);
    while (!stopping_)
        g_main_context_iteration(context_, TRUE);
    g_main_context_pop_thread_default(context_);
}

void CGlibThread::runTasks() {
    std::vector<Task> tasks;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks.swap(tasks_);
    }
    for (const Task& task : tasks)
        if (!stopping_)
            task();
}

} // namespace camsim
