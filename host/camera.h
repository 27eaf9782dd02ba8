#pragma once

#include "host/api.h"
#include "host/audio.h"
#include "host/device_context.h"
#include "host/error.h"
#include "host/events.h"
#include "host/model_list.h"
#include "host/stream_id.h"
#include "host/text.h"
#include "host/url.h"
#include "host/video.h"

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>
#include <vector>

namespace corvane::device_handler::v1_0 {
class COperationRegistry;
class IStreamController;
} // namespace corvane::device_handler::v1_0

namespace corvane::vorn_camera_base::v1_0 {

using device_handler::v1_0::AudioCodec;
using device_handler::v1_0::CError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::IDeviceContext;
using device_handler::v1_0::InputClass;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::SModelInfo;
using device_handler::v1_0::SPtzModel;
using device_handler::v1_0::SVornUrl;
using device_handler::v1_0::VideoCodec;
using handler_impl::SAudioStreamId;
using handler_impl::SVideoStreamId;
using vorn_event::v1_0::DCState;

// The id, among the host's properties, of alarm inputs.
inline constexpr int DryContactInputProperty = 78;

// At which level an alarm input is active.
inline constexpr const char* ActiveLow = "LOW";
inline constexpr const char* ActiveHigh = "HIGH";

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
    // it up in the model list, and runs `customInitialize`. Where the number was given, the camera is asked
    // last, for the prefix of its own name; that may fail. Fails with the error of the first step, with
    // (NotSupported, General) for a model that the list does not know, and with (NotAccessible, General) when
    // the device's own initialisation fails. May be repeated after a failure.
    CError initialize();

    // The operations, one a row, with what each does. Unless one says otherwise: PTZ positions are the
    // recorder's; a failed call leaves its outputs unchanged.
#define VORN_OPERATION(RETURNED, NAME, PARAMETERS) virtual RETURNED NAME PARAMETERS;
#define VORN_METHOD(RETURNED, NAME, PARAMETERS) virtual RETURNED NAME PARAMETERS;
#include "host/camera_operations.def"

    // A stream's record in the device database: reading fills the fields that are set and empties the others,
    // writing leaves alone what is empty in `record`. Both fail as the setters do, but that nothing is said
    // of empty values; a failed writing may have written some fields.
    CError readVideoStreamRecord(SVideoStreamId id, SVornVidValsInDb& record);
    CError writeVideoStreamRecord(SVideoStreamId id, const SVornVidValsInDb& record);
    // The record of an audio stream, its bit rate the default while none was set.
    CError readAudioStreamRecord(SAudioStreamId id, SVornAudValsInDb& record);

    // The model's ranges, home positions and offsets; all zero for a model without PTZ.
    const SPtzModel& ptzModel() const;

    // The number that the model's first input of a kind has on the device, and the one that `input` has.
    // `property` is the kind's id (DryContactInputProperty). From the model list; 0 where it gives none.
    int inputBase(int property) const;
    int reIndex(int input, int property) const;

    // Adds every operation that can be called by name (see operations/operations.h) to `registry`, which must
    // not outlive the camera. A device's camera calls the base's first and then adds its own. A host without
    // calls by name answers with nothing.
    virtual void registerOperations(COperationRegistry& registry);

    // GET of one value: the text behind the URL's reply key in the reply, up to the first delimiter; empty
    // when the reply does not hold the key. Takes 4 seconds at most. Arguments and failures as in host/cgi.h;
    // a failure leaves `value` unchanged.
    static CError getCamSingleValue(const std::string& address, const SVornUrl& url, const std::string& user,
                                    const std::string& password, std::string& value,
                                    const std::string& delimiters, const std::string& authScheme);

protected:
    const boost::shared_ptr<IDeviceContext>& deviceContext() const;
    const std::string& address() const;
    const boost::shared_ptr<CVornModelList>& modelList() const;
    // The model's record; empty defaults while the model is unknown.
    const SModelInfo& model() const;

    // A value of one of the device's inputs, numbered from 0, in the device database. Fail as
    // IDeviceDbProxy's operations do, and with (DeviceDbUnavailable, General) without a database.
    CError readFromInputDb(InputClass inputClass, int input, const std::string& key, CString& value);
    CError writeToInputDb(InputClass inputClass, int input, const std::string& key, const CString& value);

private:
    struct SBase; // the framework's own
    const std::unique_ptr<SBase> base_;
};

} // namespace corvane::vorn_camera_base::v1_0
