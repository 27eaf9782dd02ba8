#include "site/base/child_process.h"

#include "site/base/exit_status.h"

#include <gio/gio.h>

#include <csignal>
#include <memory>
#include <sys/prctl.h>
#include <unistd.h>

namespace corvane::site {
namespace {

// A terminal's Ctrl-C is for this program, which waits for its helper then; without this program nobody
// would.
void StandApart(void* /*unused*/) {
    (void)::setpgid(0, 0);
    (void)::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

} // namespace

void RunThisProgram(const std::vector<std::string>& arguments,
                    const std::function<void(const std::string& line)>& told) {
    std::vector<const char*> words{"/proc/self/exe"};
    for (const std::string& word : arguments)
        words.push_back(word.c_str());
    words.push_back(nullptr);
    const std::unique_ptr<GSubprocessLauncher, decltype(&g_object_unref)> launcher(
        g_subprocess_launcher_new(static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                                G_SUBPROCESS_FLAGS_STDERR_SILENCE)),
        g_object_unref);
    g_subprocess_launcher_set_child_setup(launcher.get(), StandApart, nullptr, nullptr);
    GError* error = nullptr;
    const std::unique_ptr<GSubprocess, decltype(&g_object_unref)> process(
        g_subprocess_launcher_spawnv(launcher.get(), words.data(), &error), g_object_unref);
    if (!process) {
        const std::string reason = error->message;
        g_error_free(error);
        throw CFailure(ExitStatus::NotStarted, "a process could not be started: " + reason, OwnCause::Limit);
    }
    const std::unique_ptr<GDataInputStream, decltype(&g_object_unref)> lines(
        g_data_input_stream_new(g_subprocess_get_stdout_pipe(process.get())), g_object_unref);
    while (char* const line = g_data_input_stream_read_line(lines.get(), nullptr, nullptr, nullptr)) {
        told(line);
        g_free(line);
    }
    (void)g_subprocess_wait(process.get(), nullptr, nullptr);
}

} // namespace corvane::site
