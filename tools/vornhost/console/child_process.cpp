#include "tools/vornhost/console/child_process.h"

#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"

#include <gio/gio.h>

#include <memory>

namespace corvane::vornhost {

std::string OutputOfThisProgram(const std::vector<std::string>& arguments) {
    std::vector<const char*> words{"/proc/self/exe"};
    for (const std::string& word : arguments)
        words.push_back(word.c_str());
    words.push_back(nullptr);
    GError* error = nullptr;
    const std::unique_ptr<GSubprocess, decltype(&g_object_unref)> process(
        g_subprocess_newv(
            words.data(),
            static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_SILENCE),
            &error),
        g_object_unref);
    if (!process) {
        const std::string reason = error->message;
        g_error_free(error);
        throw CFailure(ExitStatus::NotStarted, "a process could not be started: " + reason, OwnCause::Limit);
    }
    GBytes* written = nullptr;
    (void)g_subprocess_communicate(process.get(), nullptr, nullptr, &written, nullptr, nullptr);
    if (!written)
        return {};
    gsize size = 0;
    const auto* const data = static_cast<const char*>(g_bytes_get_data(written, &size));
    std::string text(data, size);
    g_bytes_unref(written);
    return text;
}

} // namespace corvane::vornhost
