#pragma once

#include "site/accepted_values.h"
#include "site/cameras/drift.h"
#include "site/session/device_session.h"
#include "site/site_file.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane::site {

// The order is that in which they need attention.
enum class CameraState { Fault, NotAccepted, Differs, Changed, Same };
const char* NameOf(CameraState state);

// A value that was set.
struct SChange {
    SComparison before;
    std::string after; // what the camera has since
};

// What is known of one of a site's cameras.
struct SCameraFinding {
    const site::SSiteCamera* camera = nullptr;
    CameraState state = CameraState::Same;
    std::vector<SComparison> differences;
    std::vector<SChange> changes;
    std::size_t ignored = 0; // differences that the file ignores
    std::optional<SDiagnosis> problem;
    std::vector<ordered_json> checks; // of the doctor, that have found something; as programs read them
    std::string serialNumber;         // empty where the camera was not asked
    std::string model;                // as far as they are known
    std::string firmware;             // likewise
    double milliseconds = 0;
};

// "stream 0,h264,0" for "streams.0,h264,0"; "adjustments" stays as it is.
std::string ToldOf(const std::string& of);

ordered_json DifferencesJson(const std::vector<SComparison>& differences);
ordered_json ChangesJson(const std::vector<SChange>& changes);
ordered_json FindingJson(const SCameraFinding& finding);

// What of a difference is none.
struct SAllowances {
    std::string today; // as in "2026-11-26"
    site::CAcceptedValues* accepted = nullptr;
};

// One of a site's cameras, for as long as something is done with it. Belongs to one thread.
class CSiteCamera {
public:
    // The recorder's plug-in has the camera's RTSP port. No traffic. Throws CFailure.
    CSiteCamera(const site::SSiteCamera& camera, const SRecorder& recorder, const SOptions& options,
                CCredentials credentials);

    // Reaches the camera and makes sure that it is the file's. Why it cannot be used.
    std::optional<SDiagnosis> open();
    // Holds the camera against the file; sends no write.
    void compare(SCameraFinding& finding, const SAllowances& allowances);
    // Sets what was found to differ, and reads it back.
    void set(SCameraFinding& finding, const SAllowances& allowances);
    // Why what is read of the camera is not to be relied on. Waits for its settings.
    std::optional<SDiagnosis> unreadable();
    CDeviceSession& session() { return session_; }
    // Its model and firmware.
    void describe(SCameraFinding& finding);

private:
    std::optional<SDiagnosis> reach();
    std::optional<SDiagnosis> impossible(const SCameraFinding& finding, const SAllowances& allowances) const;
    std::optional<SAnswer> ask(const std::string& operation, const Texts& arguments) const;
    CDrift drift() const;
    std::optional<SDiagnosis> write(const std::vector<SComparison>& differences, const std::string& today);
    std::optional<SDiagnosis> writeStream(const site::SStreamWish& wish, const std::string& today);
    std::optional<SDiagnosis> writeAdjustment(const SComparison& difference);
    std::optional<SDiagnosis> writeProblem(const std::string& operation,
                                           const std::optional<SAnswer>& answer);
    bool isAccepted(const SComparison& value, const SAllowances& allowances) const;
    site::SAcceptedValue acceptedOf(const SComparison& value) const;

    const site::SSiteCamera& camera_;
    CDeviceSession session_;
};

} // namespace corvane::site
