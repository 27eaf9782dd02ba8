#include "tests/plugin/curl_options.h"

#include <cstdarg>
#include <dlfcn.h>
#include <map>
#include <mutex>

namespace corvane::test_support {
namespace {

using Options = std::map<int, std::string>;

struct SNoted {
    std::mutex mutex; // guards what follows
    std::map<CURL*, Options> ofHandles;
    std::map<std::string, Options> ofPaths;
};

// Never destroyed: threads that nobody joins may still set options while the process ends.
SNoted& Noted() {
    static SNoted& noted = *new SNoted;
    return noted;
}

void Note(CURL* handle, int option, const std::string& value) {
    const std::lock_guard<std::mutex> lock(Noted().mutex);
    Options& options = Noted().ofHandles[handle];
    options[option] = value;
    const std::string& url = options[CURLOPT_URL];
    if (const std::size_t path = url.find('/', sizeof "http://"); path != std::string::npos)
        Noted().ofPaths[url.substr(path)] = options;
}

void Forget(CURL* handle) {
    const std::lock_guard<std::mutex> lock(Noted().mutex);
    Noted().ofHandles.erase(handle);
}

// What libcurl has under a name that this program has taken.
template <typename Function>
Function Real(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

std::string CurlOption(const std::string& path, CURLoption option) {
    const std::lock_guard<std::mutex> lock(Noted().mutex);
    return Noted().ofPaths[path][option];
}

} // namespace corvane::test_support

// In place of libcurl's own, which it calls.
#undef curl_easy_setopt
extern "C" CURLcode curl_easy_setopt(CURL* handle, CURLoption option, ...) {
    static const auto real =
        corvane::test_support::Real<CURLcode (*)(CURL*, CURLoption, ...)>("curl_easy_setopt");
    va_list arguments;
    va_start(arguments, option);
    void* const value = va_arg(arguments, void*); // as wide as a number
    va_end(arguments);
    const auto number = reinterpret_cast<long>(value);
    if (option < CURLOPTTYPE_OBJECTPOINT)
        corvane::test_support::Note(
            handle, option, std::to_string(option == CURLOPT_TIMEOUT_MS ? (number + 999) / 1'000 : number));
    else if (option == CURLOPT_URL || option == CURLOPT_USERPWD)
        corvane::test_support::Note(handle, option, static_cast<const char*>(value));
    return real(handle, option, value);
}

// A test that measures the heap must not find in it what is kept of handles that are gone.
extern "C" void curl_easy_cleanup(CURL* curl) {
    static const auto real = corvane::test_support::Real<void (*)(CURL*)>("curl_easy_cleanup");
    corvane::test_support::Forget(curl);
    real(curl);
}
