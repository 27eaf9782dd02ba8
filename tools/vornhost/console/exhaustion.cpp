#include "tools/vornhost/console/exhaustion.h"

#include "refhost/base/memory_limit.h"
#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"

#include <glib.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace corvane::vornhost {
namespace {

// Both set before any thread is made; allocated then, since nothing can be later.
std::string toldMessage; // NOLINT(cert-err58-cpp)
std::string toldLine;    // NOLINT(cert-err58-cpp)

[[noreturn]] void End() {
    // What cannot be written has nobody to be told to.
    (void)!::write(STDOUT_FILENO, toldLine.data(), toldLine.size());
    (void)!::write(STDERR_FILENO, toldMessage.data(), toldMessage.size());
    std::_Exit(static_cast<int>(ExitStatus::NotStarted));
}

// GLib ends the process where it gets no memory, no thread and no descriptor, and nowhere else.
void TakeLog(const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer data) {
    if ((level & G_LOG_LEVEL_ERROR) != 0 && domain && std::strcmp(domain, "GLib") == 0)
        End();
    g_log_default_handler(domain, level, message, data);
}

void TakeCrash(int signal) {
    if (refhost::IsMemoryShort())
        End();
    ::raise(signal); // by its default action, once this handler has returned
}

} // namespace

void TellExhaustion(const std::string& message, const std::string& line) {
    toldMessage = message;
    toldLine = line;
    g_log_set_default_handler(TakeLog, nullptr);
#if !defined(VORN_UNDER_ASAN) && !defined(VORN_UNDER_TSAN) // which tell of crashes themselves
    struct sigaction action {};
    action.sa_handler = TakeCrash;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGABRT, SIGTRAP, SIGSEGV})
        ::sigaction(signal, &action, nullptr);
#endif
}

} // namespace corvane::vornhost
