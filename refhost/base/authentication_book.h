#pragma once

#include "host/api.h"
#include "refhost/base/auth_scheme.h"
#include "refhost/base/log.h"
#include "refhost/base/names.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace corvane::refhost {

class CDeviceDb;

// How a device wants to be shown credentials.
struct SSeenAuthentication {
    AuthScheme letIn = AuthScheme::None; // what it has let this process in with last
    // The best that it has ever let anybody in with, as far as its database and this process remember.
    AuthScheme strongest = AuthScheme::None;
    // The exchange in which it first offered Basic alone; absent where it does not do so now.
    COptional<SHttpExchange> basicAlone;

    // It may be somebody in between, a camera that was reset, or another one at its address.
    bool isWeakerThanBefore() const { return basicAlone && strongest == AuthScheme::Digest; }
};

// Which devices Basic authentication is refused to, and what each has been seen to want. A device that offers
// Basic alone is told in the log, once, and once more when it had let in with Digest before.
//
// Process-wide, since HTTP is, and for a device's streams too; addresses are as exchanges tell them
// (ToldAddress in refhost/address.h). Every operation may be called from any thread.
class VORN_HOST_API CAuthenticationBook {
public:
    static CAuthenticationBook& instance();

    // Refused to every device, whatever else is said.
    void refuseEverywhere();
    // Refused, or not, to one device.
    void setRefused(const std::string& address, bool isRefused);
    // Refused to every device that nothing has been said of, while what is returned lives.
    std::shared_ptr<const void> refuseToStrangers();
    bool isRefused(const std::string& address) const;

    // Takes what the database knows of the device, and keeps it there from now on while the database is open.
    void keepIn(const std::shared_ptr<CDeviceDb>& database, const std::string& address);
    // Takes in an exchange that is over, over HTTP or RTSP.
    void note(const SHttpExchange& exchange);
    SSeenAuthentication seen(const std::string& address) const;

private:
    struct SDevice {
        COptional<bool> isRefused;
        SSeenAuthentication seen;
        bool isTold = false, isFallTold = false;
        std::weak_ptr<CDeviceDb> database;
    };

    CAuthenticationBook() = default;
    static std::string toTell(SDevice& device, bool isRefused);
    void store(const std::string& address);

    // Held while a record is written, and taken before mutex_, so that the newest is written last.
    std::mutex storeMutex_;
    mutable std::mutex mutex_; // guards what follows
    bool isRefusedEverywhere_ = false;
    std::weak_ptr<const void> strangersRefusal_;
    std::unordered_map<std::string, SDevice> devices_;
};

} // namespace corvane::refhost
