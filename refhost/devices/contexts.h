#pragma once

#include "host/api.h"
#include "host/device_context.h"
#include "host/handler_context.h"
#include "refhost/base/authentication_book.h"
#include "refhost/base/device_db.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <mutex>
#include <string>

namespace corvane::refhost {

// One device's context: credentials that can be changed while the device is in use, its database record, and
// the framework's log, each line headed by the device's address.
class VORN_HOST_API CDeviceContext : public device_handler::v1_0::IDeviceContext {
public:
    // `database` may be empty: the device then has no record.
    CDeviceContext(std::string address, CAuthentication authentication, std::shared_ptr<CDeviceDb> database);

    void log(int level, const char* format, ...) override VORN_PRINTF_FORMAT(3, 4);
    boost::shared_ptr<device_handler::v1_0::IDeviceDbProxy> getDeviceDbProxy() override;
    CAuthentication getAuthentication() override;

    // Takes effect at the device's next request. Its password becomes a secret of the log.
    void setAuthentication(CAuthentication authentication);

    // Whether Basic authentication is refused to the device: as the last call of setBasicRefused() for its
    // address says, and before any for as long as there is a handler context with a family that refuses it.
    // The host sets it once it knows the family.
    void setBasicRefused(bool isRefused);
    bool isBasicRefused() const;
    // How the device wants to be shown credentials; what it has been let in with is kept in its record.
    SSeenAuthentication seenAuthentication() const;

private:
    const std::string address_;
    const std::string toldAddress_; // as exchanges tell it
    const std::shared_ptr<CDeviceDb> database_;
    mutable std::mutex mutex_; // guards authentication_
    CAuthentication authentication_;
};

// The context of a device handler: every family of the model list, the framework's log. It refuses to query
// an address that is none (see ParseAddress in refhost/address.h). Where a family of the list refuses Basic
// authentication, so does every device whose family nobody has told, while the context lives: until a device
// is identified, it may be one of them.
class VORN_HOST_API CHandlerContext : public device_handler::v1_0::IHandlerContext {
public:
    explicit CHandlerContext(boost::shared_ptr<device_handler::v1_0::CVornModelList> modelList);

    std::size_t getFamilyCount() const override;
    const device_handler::v1_0::SFamily* getFamily(std::size_t i) const override;
    bool isQueryRefused(const std::string& address,
                        const COptional<device_handler::v1_0::CDeviceId>& deviceId,
                        const CAuthentication& authentication) override;
    device_handler::v1_0::CLogFunction getLog() const override;
    boost::shared_ptr<device_handler::v1_0::CVornModelList> getModelList() const override;

private:
    const boost::shared_ptr<device_handler::v1_0::CVornModelList> modelList_;
    std::shared_ptr<const void> basicRefusal_; // to devices that are not known; empty where none is
};

} // namespace corvane::refhost
