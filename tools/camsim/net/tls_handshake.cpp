#include "net/tls_handshake.h"

#include <ctime>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <stdexcept>
#include <string>

namespace camsim {
namespace {

void Check(int result) {
    if (result < 0)
        throw std::runtime_error(std::string("TLS: ") + gnutls_strerror(result));
}

// A certificate that the camera has signed itself, as cameras do.
class CCertificate {
public:
    CCertificate() {
        gnutls_x509_privkey_t key = nullptr;
        gnutls_x509_crt_t certificate = nullptr;
        Check(gnutls_certificate_allocate_credentials(&credentials_));
        Check(gnutls_x509_privkey_init(&key));
        Check(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA,
                                           GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
        Check(gnutls_x509_crt_init(&certificate));
        describe(certificate);
        Check(gnutls_x509_crt_set_key(certificate, key));
        Check(gnutls_x509_crt_sign2(certificate, certificate, key, GNUTLS_DIG_SHA256, 0));
        Check(gnutls_certificate_set_x509_key(credentials_, &certificate, 1, key));
        gnutls_x509_crt_deinit(certificate);
        gnutls_x509_privkey_deinit(key);
    }
    ~CCertificate() { gnutls_certificate_free_credentials(credentials_); }
    CCertificate(const CCertificate&) = delete;
    CCertificate& operator=(const CCertificate&) = delete;

    gnutls_certificate_credentials_t credentials() const { return credentials_; }

private:
    static void describe(gnutls_x509_crt_t certificate) {
        constexpr std::time_t TenYears = std::time_t{10} * 365 * 24 * 60 * 60;
        const std::string name = "camera";
        const unsigned char serial = 1;
        Check(gnutls_x509_crt_set_version(certificate, 3));
        Check(gnutls_x509_crt_set_serial(certificate, &serial, sizeof serial));
        Check(gnutls_x509_crt_set_activation_time(certificate, std::time(nullptr)));
        Check(gnutls_x509_crt_set_expiration_time(certificate, std::time(nullptr) + TenYears));
        Check(gnutls_x509_crt_set_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, name.data(),
                                            static_cast<unsigned>(name.size())));
    }

    gnutls_certificate_credentials_t credentials_ = nullptr;
};

} // namespace

struct CTlsHandshake::SSession {
    gnutls_session_t session = nullptr;
    ~SSession() { gnutls_deinit(session); }
};

CTlsHandshake::CTlsHandshake(int fd) : session_(std::make_unique<SSession>()) {
    static const CCertificate certificate; // made for the first that needs it
    Check(gnutls_init(&session_->session, GNUTLS_SERVER | GNUTLS_NONBLOCK | GNUTLS_NO_SIGNAL));
    Check(gnutls_set_default_priority(session_->session));
    Check(gnutls_credentials_set(session_->session, GNUTLS_CRD_CERTIFICATE, certificate.credentials()));
    gnutls_transport_set_int(session_->session, fd);
}

CTlsHandshake::~CTlsHandshake() = default;

bool CTlsHandshake::goOn() {
    const int result = gnutls_handshake(session_->session);
    if (result == GNUTLS_E_SUCCESS) {
        gnutls_bye(session_->session, GNUTLS_SHUT_WR);
        return true;
    }
    if (gnutls_error_is_fatal(result) == 0)
        return false;
    gnutls_alert_send_appropriate(session_->session, result);
    return true;
}

} // namespace camsim
