#pragma once

#include <memory>

namespace camsim {

// What a server that speaks TLS alone does with a connection until the handshake has succeeded or failed. Not
// thread-safe.
class CTlsHandshake {
public:
    // `fd` must not block, and outlive this object. Throws std::runtime_error when there is no certificate.
    explicit CTlsHandshake(int fd);
    ~CTlsHandshake();
    CTlsHandshake(const CTlsHandshake&) = delete;
    CTlsHandshake& operator=(const CTlsHandshake&) = delete;

    // To be called when there is something to read. True when it is over; a client that did not speak TLS has
    // been sent an alert then, one that did has been told that nothing follows.
    bool goOn();

private:
    struct SSession;
    const std::unique_ptr<SSession> session_;
};

} // namespace camsim
