#include "service/tls_files.h"

#include "site/base/exit_status.h"
#include "site/text_file.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

namespace corvane::service {
namespace {

using site::CFailure;
using site::ExitStatus;
using site::OwnCause;

using CBio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using CCertificate = std::unique_ptr<X509, decltype(&X509_free)>;
using CKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

std::string Read(const std::string& file) {
    try {
        return site::ReadTextFile(file);
    } catch (const site::CFileError& error) {
        throw CFailure(ExitStatus::WrongUsage, error.what(), OwnCause::WrongFile);
    }
}

// Without it whoever is at the terminal would be asked.
int NoPassword(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* /*unused*/) {
    return -1;
}

CBio Bio(const std::string& text) {
    return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free};
}

CCertificate FirstCertificate(const std::string& text) {
    return {PEM_read_bio_X509(Bio(text).get(), nullptr, &NoPassword, nullptr), X509_free};
}

CKey FirstKey(const std::string& text) {
    return {PEM_read_bio_PrivateKey(Bio(text).get(), nullptr, &NoPassword, nullptr), EVP_PKEY_free};
}

} // namespace

STlsFiles ReadTlsFiles(const std::string& certificateFile, const std::string& keyFile) {
    if (certificateFile.empty() != keyFile.empty())
        throw CFailure(ExitStatus::WrongUsage, "--tls-cert and --tls-key belong together");
    if (certificateFile.empty())
        return {};
    STlsFiles files{Read(certificateFile), Read(keyFile)};
    const CCertificate certificate = FirstCertificate(files.certificate);
    const CKey key = FirstKey(files.key);
    std::string wrong;
    if (!certificate)
        wrong = "--tls-cert: " + certificateFile + " holds no certificate (PEM)";
    else if (!key)
        wrong = "--tls-key: " + keyFile + " holds no key without a password (PEM)";
    else if (X509_check_private_key(certificate.get(), key.get()) != 1)
        wrong = "the key in " + keyFile + " is not that of the certificate in " + certificateFile;
    if (!wrong.empty())
        throw CFailure(ExitStatus::WrongUsage, wrong, OwnCause::WrongFile);
    return files;
}

} // namespace corvane::service
