#include "service/host_lookup.h"

#include <memory>
#include <netdb.h>
#include <sys/socket.h>

namespace corvane::service {
namespace {

// What the C library uses as long as the look-up goes on, also after the caller has given it up.
struct SLookUp {
    explicit SLookUp(std::string name) : host(std::move(name)) {
        hints.ai_socktype = SOCK_STREAM;
        request.ar_name = host.c_str();
        request.ar_request = &hints;
    }
    SLookUp(const SLookUp&) = delete;
    SLookUp& operator=(const SLookUp&) = delete;
    ~SLookUp() {
        if (request.ar_result)
            ::freeaddrinfo(request.ar_result);
    }

    const std::string host;
    addrinfo hints{};
    gaicb request{};
};

std::vector<std::string> NumericAddresses(const addrinfo* found) {
    std::vector<std::string> addresses;
    for (; found; found = found->ai_next) {
        char text[NI_MAXHOST];
        if (::getnameinfo(found->ai_addr, found->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST) ==
            0)
            addresses.emplace_back(text);
    }
    return addresses;
}

} // namespace

SFoundHost LookUpHost(const std::string& host, const std::function<bool()>& isGivenUp) {
    auto lookUp = std::make_unique<SLookUp>(host);
    gaicb* list[] = {&lookUp->request};
    int result = ::getaddrinfo_a(GAI_NOWAIT, list, 1, nullptr);
    const timespec tenth{0, 100'000'000};
    while (result == 0 && (result = ::gai_error(list[0])) == EAI_INPROGRESS) {
        if (isGivenUp()) {
            if (::gai_cancel(list[0]) == EAI_NOTCANCELED)
                (void)lookUp.release(); // nobody can end it, and it ends in its own time
            return {};
        }
        const gaicb* const waited[] = {list[0]};
        (void)::gai_suspend(waited, 1, &tenth);
        result = 0;
    }
    SFoundHost found;
    if (result == 0)
        found.addresses = NumericAddresses(lookUp->request.ar_result);
    if (found.addresses.empty())
        found.failure = "the host name \"" + host + "\" is not found" +
                        (result == 0 ? "" : std::string(": ") + ::gai_strerror(result));
    return found;
}

} // namespace corvane::service
