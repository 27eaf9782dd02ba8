#pragma once

#include "site/base/names.h"
#include "site/diagnosis/diagnosis.h"
#include "site/diagnosis/exchange_watch.h"

#include <optional>
#include <string>

namespace corvane::site {

// Whether the exchange moves the head.
bool IsMove(const SHttpExchange& exchange);

// Whether nobody takes a connection there at this moment.
bool TakesNoConnection(const std::string& address);

// What is known of a failure.
struct SEvidence {
    Occasion occasion;
    CError error;
    std::optional<SWatchedExchange> exchange; // the one to blame
    bool wasReachedBefore = false;            // the device, in the same run
    std::string credentialSource;

    bool failedBy(HttpFailure kind) const { return exchange && exchange->kind == kind; }
    bool hasStatus(int from, int to) const;
    bool hasStatus(int status) const { return hasStatus(status, status); }
    bool isCode(RtnCode code) const { return error.getCode() == static_cast<int>(code); }
    // NotSet alone does not tell what is missing.
    bool wantsCredentials() const;
    // A reply with status 200, as slow as an identification cannot wait for.
    bool isSlow() const;
    bool isEmpty() const;
    // Status 200, and a page or another text where a camera tells its settings or its name.
    bool isAlien() const;
    // Of a camera that says other things of itself than its name: it leaves that out, or it cannot be read.
    bool isNameless() const;
    bool isDamagedIdentity() const;
    // It names a model.
    bool tellsAName() const;
    // The device asks again and again, or in no way that is spoken.
    bool isAskedForEver() const;
    bool speaksTls() const;
    // It has broken off, or said that it is busy, and takes no connection now.
    bool isAway() const;
    // A reply that looks like success, and is neither empty nor another product's.
    bool hasFaultyReply() const;

    // It changes something at the camera, and no reply has come that can be read.
    bool isUnconfirmedWrite() const;

    // What came back, for people.
    std::string answered() const;
};

} // namespace corvane::site
