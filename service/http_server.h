#pragma once

#include "service/http_message.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

struct MHD_Daemon;

namespace corvane::service {

// An address that is listened at.
struct SListenAddress {
    std::string host; // a numeric address, IPv6 without brackets
    std::uint16_t port = 0;

    // "127.0.0.1:8090", "[::1]:8090".
    std::string text() const;
    bool isLoopback() const;
};

// Certificate (with its chain) and key, both PEM; empty: no TLS.
struct STlsFiles {
    std::string certificate;
    std::string key;
};

struct SHttpLimits {
    std::size_t largestBody = 256 * 1024;
    std::size_t allBodies = 64 * 1024 * 1024; // that are being received; who would send more is cut off
    std::size_t largestHeader = 16 * 1024;
    unsigned connections = 12'000;
    unsigned seconds = 30; // without anything sent or received
};

class CHttpServerError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Serves HTTP/1.1, with TLS where it is given a certificate, on one thread for each address whatever the
// number of clients.
class CHttpServer {
public:
    // Answers a request; called once, from any thread, also before the handler has returned. A client that
    // has gone is answered in vain.
    using Answer = std::function<void(SHttpAnswer answer)>;
    // Called on the server's thread; must return soon and not throw.
    using Handler = std::function<void(SHttpRequest request, Answer answer)>;

    // Throws CHttpServerError when it cannot listen there, or not with the certificate.
    CHttpServer(const std::vector<SListenAddress>& addresses, const STlsFiles& tls, Handler handler,
                SHttpLimits limits = {});
    // Ends the connections; requests that were not answered by then never are.
    ~CHttpServer();
    CHttpServer(const CHttpServer&) = delete;
    CHttpServer& operator=(const CHttpServer&) = delete;

    // With the ports that were chosen where 0 was given.
    const std::vector<SListenAddress>& addresses() const { return addresses_; }

private:
    class CCall;
    class CCalls;

    void listen(SListenAddress& address, const STlsFiles& tls);

    const SHttpLimits limits_;
    std::vector<SListenAddress> addresses_;
    std::unique_ptr<CCalls> calls_;
    std::vector<MHD_Daemon*> daemons_;
};

} // namespace corvane::service
