#pragma once

#include "host/api.h"
#include "host/device_context.h"
#include "host/error.h"
#include "host/model_list.h"
#include "host/text.h"
#include "host/url.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

namespace corvane::device_handler::v1_0 {
class COperationRegistry;
}

namespace corvane::vorn_camera_base::v1_0 {

using device_handler::v1_0::CError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::SModelInfo;
using device_handler::v1_0::SVornUrl;

// A camera, as the recorder sees every camera: the generic logic, answered from the model list and the device
// database. A device handler derives from it and overrides what its devices do otherwise.
//
// The operations may be called from any thread once `initialize` has returned; `initialize` itself, and
// destruction, belong to one thread. Unless an operation says otherwise a failed call leaves its outputs
// unchanged.
class VORN_HOST_API CVornCamera {
public:
    // `address` is the device's (see host/cgi.h). `modelNumber` is the number without its prefix; when it is
    // empty or null, `initialize` asks the camera.
    CVornCamera(boost::shared_ptr<IDeviceContext>& context, char const* address,
                boost::shared_ptr<CVornModelList>& modelList, char const* modelNumber);
    virtual ~CVornCamera();
    CVornCamera(const CVornCamera&) = delete;
    CVornCamera& operator=(const CVornCamera&) = delete;

    // Brings the camera up: learns its model number (`preInit_getUnitModelName`) unless it was given, looks
    // it up in the model list, and runs `customInitialize`. Fails with the error of the first step, with
    // (NotSupported, General) for a model that the list does not know, and with (NotAccessible, General) when
    // the device's own initialisation fails. May be repeated after a failure.
    CError initialize();

    // Asks the device for its model number, before initialisation. The base knows no way: (NotSupported,
    // General).
    virtual CError preInit_getUnitModelName(std::string& model);
    // The device's own part of the initialisation; true when the camera is usable. The base has nothing to
    // do.
    virtual bool customInitialize();
    // Proves the device's credentials with the model list's test request.
    virtual CError testAuthentication();

    // The model number without its prefix; (NotSet, General) while it is unknown.
    virtual CError getUnitModelName(CString& name);
    // Whether the framework supports this model and this firmware: the property value for 1 or 0. The base
    // supports the models of its list, with any firmware.
    virtual CError isUnitModelSupported(CString& supported);
    virtual CError isUnitFirmwareSupported(CString& supported);
    // The firmware version; the base knows none and answers an empty text.
    virtual CError getUnitFirmwareVersion(CString& version);
    // The MAC address of a network interface, counted from 0; the base answers an empty text.
    virtual CError getInterfaceMac(int interfaceIndex, CString& mac);
    // Appends, for video input `index` (from 0): the name, the default name, and the longest length in
    // characters. The base answers with the name in the device database, else "Camera N", counted from 1.
    virtual CError getCameraName(int index, std::vector<CString>& name);

    // Restarts the device, or puts it back to its factory defaults. The base knows no way: (NotSupported,
    // General).
    virtual CError rebootDevice();
    virtual CError resetToFactoryDefaults();

    // Adds every operation that can be called by name (see host/operations.h) to `registry`, which must not
    // outlive the camera. A device's camera calls the base's first and then adds its own.
    virtual void registerOperations(COperationRegistry& registry);

    // GET of one value: the text behind the URL's reply key in the reply, up to the first delimiter; empty
    // when the reply does not hold the key. Takes 4 seconds at most. Arguments and failures as in host/cgi.h;
    // a failure leaves `value` unchanged.
    static CError getCamSingleValue(const std::string& address, const SVornUrl& url, const std::string& user,
                                    const std::string& password, std::string& value,
                                    const std::string& delimiters, const std::string& authScheme);

protected:
    const boost::shared_ptr<IDeviceContext>& deviceContext() const { return deviceContext_; }
    const std::string& address() const { return address_; }
    const boost::shared_ptr<CVornModelList>& modelList() const { return modelList_; }
    // The model's record; empty defaults while the model is unknown.
    const SModelInfo& model() const { return *model_; }

private:
    boost::shared_ptr<IDeviceContext> deviceContext_;
    std::string address_;
    boost::shared_ptr<CVornModelList> modelList_;
    std::string modelNumber_;
    const SModelInfo* model_; // never null
};

} // namespace corvane::vorn_camera_base::v1_0
