#pragma once

#include <functional>
#include <glib.h>
#include <mutex>
#include <thread>
#include <vector>

namespace camsim {

// One thread that runs a GLib main context of its own, and tasks on it.
class CGlibThread {
public:
    using Task = std::function<void()>;

    // Throws std::system_error when the system gives no descriptor.
    CGlibThread();
    ~CGlibThread();
    CGlibThread(const CGlibThread&) = delete;
    CGlibThread& operator=(const CGlibThread&) = delete;

    void start();
    // Runs what has been posted, then `last`, and joins the thread; what is posted later never runs. May be
    // called twice, not on the thread itself.
    void stop(Task last);

    // Has the thread run `task`, after those posted before. Any thread.
    void post(Task task);

    GMainContext* context() const { return context_; }

private:
    static gboolean onWakeUp(gint fd, GIOCondition, gpointer self);
    void run();
    void runTasks();

    GMainContext* const context_;
    // Tasks are handed over by a standard mutex and a descriptor, which the thread sanitizer understands;
    // GLib's own locks it does not see.
    const int wakeUp_;
    std::thread thread_;
    bool stopping_ = false; // the thread alone

    std::mutex mutex_;
    std::vector<Task> tasks_; // guarded by mutex_
};

} // namespace camsim
