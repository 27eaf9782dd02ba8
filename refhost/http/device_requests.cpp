#include "refhost/http/device_requests.h"

#include "host/camera.h"

namespace corvane::refhost {

using device_handler::v1_0::CVornModelList;
using vorn_camera_base::v1_0::CVornCamera;

CError SendAuthenticationTest(const CVornModelList& modelList, const std::string& address,
                              const CAuthentication& credentials) {
    std::string value;
    return CVornCamera::getCamSingleValue(address, modelList.getTestAuthentication(),
                                          credentials.getUsername(), credentials.getPassword(), value,
                                          ReplyDelimiters, AnyAuthScheme);
}

} // namespace corvane::refhost
