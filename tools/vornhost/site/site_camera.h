#pragma once

#include "site/site_file.h"
#include "tools/vornhost/doctor/drift.h"
#include "tools/vornhost/session/device_session.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane::vornhost {

// The order is that in which they need attention.
enum class CameraState { Fault, NotAccepted, Differs, Changed, Same };
const char* NameOf(CameraState state);

// What is known of one of a site's cameras.
struct SCameraFinding {
    const site::SSiteCamera* camera = nullptr;
    CameraState state = CameraState::Same;
    std::vector<SDifference> differences;
    std::size_t ignored = 0; // differences that the file ignores
    std::optional<SDiagnosis> problem;
    std::string model;    // as far as they are known
    std::string firmware; // likewise
    double milliseconds = 0;
};

ordered_json FindingJson(const SCameraFinding& finding);

// One of a site's cameras, for as long as something is done with it. Belongs to one thread.
class CSiteCamera {
public:
    // The recorder's plug-in has the camera's RTSP port. No traffic. Throws CFailure.
    CSiteCamera(const site::SSiteCamera& camera, const SRecorder& recorder, const SOptions& options,
                CCredentials credentials);

    // Reaches the camera and makes sure that it is the file's. Why it cannot be used.
    std::optional<SDiagnosis> open();
    // Holds the camera against the file; sends no write. `today` as in "2026-11-26".
    void compare(SCameraFinding& finding, const std::string& today);
    // Its model and firmware.
    void describe(SCameraFinding& finding);

private:
    std::optional<SDiagnosis> otherCamera() const;
    std::optional<SDiagnosis> unreadable();
    std::optional<SAnswer> ask(const std::string& operation, const Texts& arguments);
    bool isIgnored(const SDifference& difference, const std::string& today) const;

    const site::SSiteCamera& camera_;
    CDeviceSession session_;
};

} // namespace corvane::vornhost
