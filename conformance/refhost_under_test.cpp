// The framework made real.

#include "host_under_test.h"

#include <refhost/devices/contexts.h>

#include <boost/make_shared.hpp>

namespace conformance {

using namespace corvane;

SHostUnderTest TheHost() {
    SHostUnderTest host;
    const auto database = refhost::CDeviceDb::open("");
    host.makeDevice = [database](const std::string& address, CAuthentication credentials) {
        return boost::make_shared<refhost::CDeviceContext>(address, std::move(credentials), database);
    };
    host.changeCredentials = [](IDeviceContext& device, CAuthentication credentials) {
        dynamic_cast<refhost::CDeviceContext&>(device).setAuthentication(std::move(credentials));
    };
    host.makeHandlerContext = [](boost::shared_ptr<CVornModelList> models) {
        return boost::make_shared<refhost::CHandlerContext>(std::move(models));
    };
    return host;
}

} // namespace conformance
