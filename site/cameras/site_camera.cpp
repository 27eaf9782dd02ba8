#include "site/cameras/site_camera.h"

#include "refhost/http/connection_probe.h"
#include "site/calls/call.h"
#include "site/cameras/site_wish.h"
#include "site/session/identification.h"

#include <algorithm>
#include <utility>

namespace corvane::site {
namespace {

constexpr const char* SitePhase = "site";

} // namespace

CSiteCamera::CSiteCamera(const site::SSiteCamera& camera, const SRecorder& recorder, const SOptions& options,
                         CCredentials credentials)
    : camera_(camera),
      session_(recorder, OptionsFor(camera, options), std::move(credentials), camera.address) {}

std::optional<SDiagnosis> CSiteCamera::open() {
    auto problem = reach();
    if (problem && problem->cause == "wrong-password" && !camera_.credentials.empty())
        problem->advice = "give the camera's own as the credentials \"" + camera_.credentials +
                          "\" of the site file, or the camera others";
    return problem;
}

std::optional<SDiagnosis> CSiteCamera::reach() {
    const bool isKnown = !session_.options().modelNumber.empty() && camera_.serialNumber.empty();
    if (isKnown) {
        auto failure = session_.learnFamily();
        return failure ? failure : session_.initialize();
    }
    // Each family's request would have its own time to find out that nobody is there.
    const auto probed =
        refhost::ProbeConnection(camera_.address, session_.options().patience(LongestIdentification));
    if (probed.kind != HttpFailure::None)
        return NobodyThere(camera_.address, *session_.plugin().models(), probed).failure;
    if (auto failure = session_.askIdentity())
        return failure;
    if (!camera_.serialNumber.empty() && session_.serialNumber() != camera_.serialNumber) {
        auto other = AnotherCamera(camera_.serialNumber, session_.serialNumber());
        other.phase = SitePhase;
        return other;
    }
    return session_.initialize();
}
// The firmware is asked past the plug-in, which learns it of one camera in a process; the serial number where
// nothing had to be identified.
void CSiteCamera::describe(SCameraFinding& finding) {
    if (const auto name = AnswerIfThere(session_.operations(), "getUnitModelName", {});
        name && !name->values.empty())
        finding.model = name->values.front();
    finding.serialNumber = session_.serialNumber();
    const auto query = session_.plugin().models()->getQueryDevice(session_.familyName());
    auto firmware = query.modelNumber;
    firmware.url.replyKey = "VERSION=";
    askValue(firmware, finding.firmware);
    if (finding.serialNumber.empty())
        askValue(query.serialNumber, finding.serialNumber);
}

void CSiteCamera::askValue(const device_handler::v1_0::SDeviceQuery& query, std::string& value) const {
    const CAuthentication as = session_.authentication();
    if (as.isSet())
        (void)CVornCamera::getCamSingleValue(camera_.address, query.url, as.getUsername(), as.getPassword(),
                                             value, query.delimiters, query.authScheme);
}

} // namespace corvane::site
