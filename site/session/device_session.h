#pragma once

#include "refhost/base/device_db.h"
#include "refhost/devices/contexts.h"
#include "refhost/http/http_client.h"
#include "site/base/exit_status.h"
#include "site/diagnosis/diagnosis.h"
#include "site/diagnosis/exchange_watch.h"
#include "site/session/credentials.h"
#include "site/session/loaded_plugin.h"
#include "site/session/options.h"

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace corvane::site {

inline constexpr int FirstInput = 0; // the only one, but of an encoder

// What the sessions of one program have in common: the plug-in with its model list, and the recorder's
// database.
struct SRecorder {
    // Throws CFailure.
    explicit SRecorder(const SOptions& options);
    SRecorder(std::shared_ptr<CLoadedPlugin> loaded, std::shared_ptr<refhost::CDeviceDb> opened)
        : plugin(std::move(loaded)), database(std::move(opened)) {}

    std::shared_ptr<CLoadedPlugin> plugin;
    std::shared_ptr<refhost::CDeviceDb> database;
};

// One device as the recorder keeps it: its record, its context, its camera object and PTZ controller, and the
// operations of these and of the handler. Belongs to one thread; the operations may be called as host/ says.
class CDeviceSession {
public:
    // Makes the camera object; no traffic. Throws CFailure.
    CDeviceSession(const SOptions& options, const std::string& address);
    // Of one of the recorder's many devices.
    CDeviceSession(const SRecorder& recorder, const SOptions& options, CCredentials credentials,
                   const std::string& address);
    ~CDeviceSession();
    CDeviceSession(const CDeviceSession&) = delete;
    CDeviceSession& operator=(const CDeviceSession&) = delete;

    // Learns the device's family and initialises the camera, as far as the options want it; what failed
    // otherwise. Throws CFailure.
    std::optional<SDiagnosis> start();
    // The two steps of start().
    std::optional<SDiagnosis> learnFamily();
    std::optional<SDiagnosis> initialize();

    // In place of learnFamily(), for one of many: asks the device itself what the model list says, past the
    // plug-in, which asks one device at a time in a process.
    std::optional<SDiagnosis> askIdentity();

    // Asks the device for its identity even when the database has its family already.
    void alwaysIdentify() { alwaysIdentify_ = true; }

    // Changes the device's credentials from here on.
    void setCredentials(CCredentials credentials);

    // Destroys the camera object and makes another, initialised as the options want it; what failed
    // otherwise.
    std::optional<SDiagnosis> renewCamera();
    // Likewise the PTZ controller alone; nothing that the old one had under way goes on.
    void renewController();

    const SOptions& options() const { return options_; }
    const std::string& address() const { return address_; }
    const CLoadedPlugin& plugin() const { return *plugin_; }
    // Made when they are first asked for: a session of many may need none. Belong to the session until it
    // makes another camera or controller, or has other credentials.
    const COperationRegistry& operations() const;
    // The camera object; another one after renewCamera().
    CVornCamera& camera() const { return *camera_; }
    // What the model list says of the camera; null before it is initialised, and for a model that is not
    // listed. Belongs to the model list.
    const SModelInfo* model() const;
    // Why a record could not be kept in the database now; a success when it could.
    CError databaseFailure() const;
    CExchangeWatch& exchanges() { return exchanges_; }
    const CExchangeWatch& exchanges() const { return exchanges_; }

    CAuthentication authentication() const { return context_->getAuthentication(); }
    // As whom a device is asked whose family may not be known yet.
    CAuthentication firstAuthentication() const;

    // One request of the program's own, past the plug-in; `isEnough` as in refhost/http/http_client.h. And
    // what its last reply to a path is, where that is not what was asked for. Callable from any thread.
    refhost::SHttpReply ask(const std::string& path, int timeOut,
                            std::function<bool(const std::string& body)> isEnough = {}) const;
    SDiagnosis diagnose(const std::string& path, Occasion occasion = Occasion::Call) const;

    // What the device is asked for its model: a small request that every one of its family answers.
    std::string modelRequest() const;

    // A warning when the camera offers Basic authentication alone and that is accepted.
    std::optional<SDiagnosis> weakerAuthentication() const;

    // Empty while they are not known.
    const std::string& familyName() const { return familyName_; }
    const std::string& serialNumber() const { return serialNumber_; }
    // Of askIdentity(): the model list's number; empty for a model that it does not have.
    const std::string& listedNumber() const { return listedNumber_; }

private:
    struct SParts {
        std::string address;
        CCredentials credentials;
        SRecorder recorder;
    };

    CDeviceSession(const SOptions& options, SParts parts);
    std::string anyFamily() const;
    std::optional<SDiagnosis> identify();
    void takeFamily(const std::string& familyName, const std::string& serialNumber);
    void applyCredentials();
    void applyRuleOf(const std::string& familyName);
    void makeCamera();
    void forgetOperations();

    const SOptions options_;
    const std::string address_;
    CCredentials credentials_;
    bool alwaysIdentify_ = false;
    const std::shared_ptr<CLoadedPlugin> plugin_;
    std::shared_ptr<refhost::CDeviceDb> database_;
    boost::shared_ptr<refhost::CDeviceContext> context_;
    CExchangeWatch exchanges_;
    std::string familyName_;
    std::string serialNumber_;
    std::string listedNumber_;
    boost::shared_ptr<CVornCamera> camera_;
    std::unique_ptr<CPtzController> ptzController_; // of camera_'s first input

    mutable std::mutex operationsMutex_;                     // guards what follows
    mutable std::unique_ptr<COperationRegistry> operations_; // of all three and the handler; null: to be made
};

} // namespace corvane::site
