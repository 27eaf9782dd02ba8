#pragma once

#include "operations/operations.h"
#include "refhost/base/device_db.h"
#include "refhost/devices/contexts.h"
#include "tools/vornhost/diagnosis/diagnosis.h"
#include "tools/vornhost/diagnosis/exchange_watch.h"
#include "tools/vornhost/session/credentials.h"
#include "tools/vornhost/session/loaded_plugin.h"
#include "tools/vornhost/session/options.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <optional>
#include <string>

namespace corvane::vornhost {

// One device as the recorder keeps it: its record, its context and its camera object, and the operations of
// both the camera and the handler. Belongs to one thread; the operations may be called as host/ says.
class CDeviceSession {
public:
    // Makes the camera object; no traffic. Throws CFailure.
    CDeviceSession(const SOptions& options, const std::string& address);
    ~CDeviceSession();
    CDeviceSession(const CDeviceSession&) = delete;
    CDeviceSession& operator=(const CDeviceSession&) = delete;

    // Learns the device's family and initialises the camera, as far as the options want it; what failed
    // otherwise. Throws CFailure.
    std::optional<SDiagnosis> start();

    // Asks the device for its identity even when the database has its family already.
    void alwaysIdentify() { alwaysIdentify_ = true; }

    // Changes the device's credentials from here on.
    void setCredentials(CCredentials credentials);

    // Destroys the camera object and makes another, initialised as the options want it; what failed
    // otherwise.
    std::optional<SDiagnosis> renewCamera();
    // Likewise the PTZ controller alone: nothing of it runs beside the camera from here until it is asked.
    void renewController();

    const std::string& address() const { return address_; }
    const CLoadedPlugin& plugin() const { return plugin_; }
    const device_handler::v1_0::COperationRegistry& operations() const { return *operations_; }
    // The camera object; another one after renewCamera().
    vorn_camera_base::v1_0::CVornCamera& camera() const { return *camera_; }
    // What the model list says of the camera; null before it is initialised, and for a model that is not
    // listed. Belongs to the model list.
    const device_handler::v1_0::SModelInfo* model() const;
    // Why a record could not be kept in the database now; a success when it could.
    device_handler::v1_0::CError databaseFailure() const;
    CExchangeWatch& exchanges() { return exchanges_; }
    const CExchangeWatch& exchanges() const { return exchanges_; }

    device_handler::v1_0::CAuthentication authentication() const { return context_->getAuthentication(); }

    // A warning: the camera offers Basic authentication alone, and is let have it.
    std::optional<SDiagnosis> weakerAuthentication() const;

    // Empty while they are not known.
    const std::string& familyName() const { return familyName_; }
    const std::string& serialNumber() const { return serialNumber_; }

private:
    std::string anyFamily() const;
    std::optional<SDiagnosis> identify();
    std::optional<SDiagnosis> initialize();
    void takeFamily(const std::string& familyName, const std::string& serialNumber);
    void applyCredentials();
    void applyRuleOf(const std::string& familyName);
    void makeCamera();
    void registerOperations();

    const SOptions options_;
    const std::string address_;
    CCredentials credentials_;
    bool alwaysIdentify_ = false;
    CLoadedPlugin plugin_;
    std::shared_ptr<refhost::CDeviceDb> database_;
    boost::shared_ptr<refhost::CDeviceContext> context_;
    CExchangeWatch exchanges_;
    std::string familyName_;
    std::string serialNumber_;
    boost::shared_ptr<vorn_camera_base::v1_0::CVornCamera> camera_;
    std::unique_ptr<vorn_ptz_controller::v1_0::CPtzController> ptzController_; // of camera_'s first input
    std::unique_ptr<device_handler::v1_0::COperationRegistry> operations_;     // of all three and the handler
};

// Starts the session; a failure is told on standard error.
bool StartOrTell(CDeviceSession& session);

} // namespace corvane::vornhost
