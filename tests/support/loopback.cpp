#include "tests/support/loopback.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace corvane::test_support {
namespace {

int Require(int result, const char* what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

} // namespace

int ListenOnLoopback(int& port, int queue, bool ipv6) {
    const int family = ipv6 ? AF_INET6 : AF_INET;
    const int listener = Require(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_storage address{};
    address.ss_family = static_cast<sa_family_t>(family);
    if (ipv6)
        reinterpret_cast<sockaddr_in6&>(address).sin6_addr = in6addr_loopback;
    else
        reinterpret_cast<sockaddr_in&>(address).sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = ipv6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    Require(bind(listener, reinterpret_cast<sockaddr*>(&address), length), "bind");
    Require(listen(listener, queue), "listen");
    Require(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
    // Both families keep the port in the same place.
    port = ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port);
    return listener;
}

std::string LoopbackAddress(int port) {
    return "127.0.0.1:" + std::to_string(port);
}

std::string UnusedAddress() {
    int port = 0;
    close(ListenOnLoopback(port, 0));
    return LoopbackAddress(port);
}

} // namespace corvane::test_support
