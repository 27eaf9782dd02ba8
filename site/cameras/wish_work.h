#pragma once

#include "site/accepted_values.h"
#include "site/cameras/drift.h"
#include "site/cameras/finding.h"
#include "site/session/device_session.h"
#include "site/site_file.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// What of a difference is none.
struct SAllowances {
    std::string today; // as in "2026-11-26"
    CAcceptedValues* accepted = nullptr;
};

// A camera that cannot keep a setting has its old one again by then.
inline constexpr std::chrono::milliseconds LongestToJumpBack{1'500};

// A camera held against a wish, and set as it is wanted. Belongs to one thread.
class CWishWork {
public:
    // Both must outlive it; of the wish the address and the name are the camera's.
    CWishWork(CDeviceSession& session, const SSiteCamera& wish) : session_(session), wish_(wish) {}

    // What is compared from now on is the camera as it is now: a session that has been kept knows it as it
    // was up to minutes ago. Why the camera cannot be asked.
    std::optional<SDiagnosis> readAnew();
    // Holds the camera against the wish; sends no write.
    void compare(SCameraFinding& finding, const SAllowances& allowances);
    // Sets what was found to differ, and reads it back.
    void set(SCameraFinding& finding, const SAllowances& allowances);
    // Why what is read of the camera is not to be relied on. Waits for its settings.
    std::optional<SDiagnosis> unreadable();

private:
    std::optional<SDiagnosis> impossible(const SCameraFinding& finding, const SAllowances& allowances) const;
    std::optional<SAnswer> ask(const std::string& operation, const Texts& arguments) const;
    CDrift drift() const;
    std::optional<SDiagnosis> write(const std::vector<SComparison>& differences, const std::string& today);
    std::optional<SDiagnosis> writeStream(const SStreamWish& wish, const std::string& today);
    std::optional<SDiagnosis> writeAdjustment(const SComparison& difference);
    std::optional<SDiagnosis> writeProblem(const std::string& operation,
                                           const std::optional<SAnswer>& answer);
    bool isAccepted(const SComparison& value, const SAllowances& allowances) const;
    SAcceptedValue acceptedOf(const SComparison& value) const;

    CDeviceSession& session_;
    const SSiteCamera& wish_;
};

} // namespace corvane::site
