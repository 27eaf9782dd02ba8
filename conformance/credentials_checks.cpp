// IDeviceContext::getAuthentication, host/device_context.h.

#include "report.h"

namespace conformance {
namespace {

std::string Told(const CAuthentication& credentials) {
    return credentials.isSet() ? credentials.getUsername() + ":" + credentials.getPassword() : "none";
}

} // namespace

void CheckCredentials(const SHostUnderTest& host, CReport& report) {
    report.check("credentials.are-those-of-the-device", [&] {
        const auto device = host.makeDevice("192.0.2.1", {"admin", "12345"});
        return Differs("getAuthentication", Told(device->getAuthentication()), "admin:12345");
    });
    report.check("credentials.change-with-the-next-question", [&] {
        const auto device = host.makeDevice("192.0.2.2", {"admin", "12345"});
        const CAuthentication kept = device->getAuthentication();
        host.changeCredentials(*device, {"operator", "other"});
        return First({Differs("getAuthentication", Told(device->getAuthentication()), "operator:other"),
                      Differs("a copy of before", Told(kept), "admin:12345")});
    });
    report.check("credentials.may-be-none", [&] {
        return Differs("getAuthentication", Told(host.makeDevice("192.0.2.3", {})->getAuthentication()),
                       "none");
    });
}

} // namespace conformance
