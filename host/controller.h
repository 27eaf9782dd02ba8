#pragma once

#include "host/api.h"
#include "host/device_context.h"
#include "host/error.h"
#include "host/model_list.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

namespace corvane::vorn_controller::v1_0 {

// The framework's generic device controller: what the recorder can tell about a device from its model list,
// and whether it can be reached, for devices whose handler has no controller of its own. Its operations may
// be called from any thread.
class VORN_HOST_API CVornController {
public:
    // `context` is kept and must outlive the controller; `address` is the device's (see host/cgi.h);
    // `modelNumber` is the number without its prefix, and may be empty.
    CVornController(device_handler::v1_0::IDeviceContext* context, char const* address,
                    char const* modelNumber,
                    boost::shared_ptr<device_handler::v1_0::CVornModelList>& modelList);
    virtual ~CVornController();
    CVornController(const CVornController&) = delete;
    CVornController& operator=(const CVornController&) = delete;

    const std::string& getAddress() const;

    // The model's record, or null when the list does not know it. Lives as long as the controller.
    virtual const device_handler::v1_0::SModelInfo* getModelInfo() const;

    // Sends the model list's authentication test with the device's credentials, if it has any; fails as the
    // exchange fails (see host/cgi.h).
    virtual device_handler::v1_0::CError testAuthentication();

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

} // namespace corvane::vorn_controller::v1_0
