#include "refhost/base/authentication_book.h"

#include "refhost/base/device_db.h"

#include <algorithm>

namespace corvane::refhost {
namespace {

// Of the device's record.
constexpr const char* Key = "authentication";
constexpr struct {
    AuthScheme scheme;
    const char* word;
} Words[] = {{AuthScheme::Basic, "basic"}, {AuthScheme::Digest, "digest"}};

constexpr int LetIn = 200;

AuthScheme SchemeOf(const std::string& word) {
    for (const auto& row : Words)
        if (word == row.word)
            return row.scheme;
    return AuthScheme::None;
}

std::string WordFor(AuthScheme scheme) {
    for (const auto& row : Words)
        if (scheme == row.scheme)
            return row.word;
    return {};
}

} // namespace

CAuthenticationBook& CAuthenticationBook::instance() {
    // Never destroyed: threads that nobody joins may still be talking to a device while the process ends.
    static CAuthenticationBook& book = *new CAuthenticationBook;
    return book;
}

void CAuthenticationBook::refuseEverywhere() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isRefusedEverywhere_ = true;
}

void CAuthenticationBook::setRefused(const std::string& address, bool isRefused) {
    const std::lock_guard<std::mutex> lock(mutex_);
    devices_[address].isRefused = isRefused;
}

std::shared_ptr<const void> CAuthenticationBook::refuseToStrangers() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<const void> refusal = strangersRefusal_.lock();
    if (!refusal)
        strangersRefusal_ = refusal = std::make_shared<const int>();
    return refusal;
}

bool CAuthenticationBook::isRefused(const std::string& address) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isRefusedEverywhere_)
        return true;
    const auto found = devices_.find(address);
    return found != devices_.end() && found->second.isRefused ? *found->second.isRefused
                                                              : !strangersRefusal_.expired();
}

void CAuthenticationBook::keepIn(const std::shared_ptr<CDeviceDb>& database, const std::string& address) {
    CString word;
    (void)database->proxy(address)->readValue(Key, word); // absent: nothing is known
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        SDevice& device = devices_[address];
        device.database = database;
        device.seen.strongest = std::max(device.seen.strongest, SchemeOf(word.str()));
    }
    store(address);
}

void CAuthenticationBook::note(const SHttpExchange& exchange) {
    const bool isLetIn = exchange.status == LetIn && exchange.authentication != AuthScheme::None;
    if (!isLetIn && !exchange.offersBasicAlone)
        return;
    std::string line;
    bool isStronger = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        SDevice& device = devices_[exchange.address];
        if (exchange.authentication == AuthScheme::Digest && isLetIn)
            device.seen.basicAlone.reset();
        else if (exchange.offersBasicAlone && !device.seen.basicAlone)
            device.seen.basicAlone = exchange;
        line = toTell(device, exchange.kind == HttpFailure::BasicRefused);
        if (isLetIn) {
            device.seen.letIn = exchange.authentication;
            isStronger = exchange.authentication > device.seen.strongest;
            device.seen.strongest = std::max(device.seen.strongest, exchange.authentication);
        }
    }
    if (!line.empty())
        WriteLog(LogNotice, exchange.address + ": " + line);
    if (isStronger)
        store(exchange.address);
}

// REQUIRES: mutex_ held.
std::string CAuthenticationBook::toTell(SDevice& device, bool isRefused) {
    const bool isFall = device.seen.isWeakerThanBefore();
    if (!device.seen.basicAlone || (isFall ? device.isFallTold : device.isTold))
        return {};
    device.isTold = true;
    device.isFallTold = device.isFallTold || isFall;
    return std::string(device_handler::v1_0::BasicAloneText) +
           (isFall ? ", and had Digest before: somebody may be in between, or it was reset" : "") +
           (isRefused ? "; that is refused" : "; whoever listens learns the password");
}

void CAuthenticationBook::store(const std::string& address) {
    const std::lock_guard<std::mutex> storing(storeMutex_);
    std::shared_ptr<CDeviceDb> database;
    AuthScheme strongest = AuthScheme::None;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const SDevice& device = devices_[address];
        database = device.database.lock();
        strongest = device.seen.strongest;
    }
    if (!database || strongest == AuthScheme::None)
        return;
    if (const CError error = database->proxy(address)->writeValue(Key, WordFor(strongest)))
        WriteLog(LogFailure, address + ": " + error.getText());
}

SSeenAuthentication CAuthenticationBook::seen(const std::string& address) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = devices_.find(address);
    return found == devices_.end() ? SSeenAuthentication() : found->second.seen;
}

} // namespace corvane::refhost
