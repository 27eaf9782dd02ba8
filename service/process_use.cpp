#include "service/process_use.h"

#include <sys/resource.h>
#include <time.h> // NOLINT(modernize-deprecated-headers): clock_gettime() is POSIX's
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace corvane::service {
namespace {

// Of proc(5): the numbers of /proc/self/stat, counted behind the program's name, which may hold anything.
enum StatField : std::size_t { Threads = 17, StartTime = 19, VirtualBytes = 20, ResidentPages = 21 };

std::vector<std::uint64_t> StatNumbers() {
    std::ifstream in("/proc/self/stat");
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
    std::vector<std::uint64_t> numbers;
    for (std::string field; fields >> field;)
        numbers.push_back(std::strtoull(field.c_str(), nullptr, 10));
    numbers.resize(std::max<std::size_t>(numbers.size(), ResidentPages + 1));
    return numbers;
}

double Now(clockid_t clock) {
    timespec time{};
    (void)::clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// When the machine began, in seconds since 1970; /proc/stat may be hidden from a service.
double BootTime() {
    return Now(CLOCK_REALTIME) - Now(CLOCK_BOOTTIME);
}

std::uint64_t OpenDescriptors() {
    std::error_code failure;
    std::uint64_t count = 0;
    for (std::filesystem::directory_iterator one("/proc/self/fd", failure), end; !failure && one != end;
         one.increment(failure))
        ++count;
    return count > 0 ? count - 1 : 0; // but for the one that they were counted with
}

double MostDescriptors() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 0;
    return limit.rlim_cur == RLIM_INFINITY ? std::numeric_limits<double>::infinity()
                                           : static_cast<double>(limit.rlim_cur);
}

} // namespace

SProcessUse ReadProcessUse() {
    const std::vector<std::uint64_t> numbers = StatNumbers();
    SProcessUse use;
    use.cpuSeconds = Now(CLOCK_PROCESS_CPUTIME_ID);
    use.residentBytes = numbers[ResidentPages] * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    use.virtualBytes = numbers[VirtualBytes];
    use.openDescriptors = OpenDescriptors();
    use.mostDescriptors = MostDescriptors();
    use.started =
        BootTime() + static_cast<double>(numbers[StartTime]) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    use.threads = numbers[Threads];
    return use;
}

} // namespace corvane::service
