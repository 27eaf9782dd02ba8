#pragma once

#include "host/camera.h"
#include "host/device_context.h"
#include "host/model_info.h"
#include "refhost/devices/camera_errors.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace corvane::vorn_camera_base::v1_0 {

using device_handler::v1_0::Origin;
using device_handler::v1_0::PropertyValue;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SStreamUrl;
using device_handler::v1_0::UrlOfNoCodec;
using refhost::EmptyValue;
using refhost::IsAbsent;
using refhost::NotOfDevice;
using refhost::NotOfModel;
using refhost::UnknownToBase;

// What the base of a camera keeps.
struct CVornCamera::SBase {
    SBase(const boost::shared_ptr<IDeviceContext>& context, std::string address,
          const boost::shared_ptr<CVornModelList>& list, std::string number);

    CError checkVideoInput(int input) const;
    CError checkVideoStream(const SVideoStreamId& id) const;
    CError checkAudioInput(int input) const;
    // The video input, and whether the model has what is called `name`.
    CError checkOffered(int input, bool isOfModel, const char* name) const;

    // Held by each pipeline of a stream; whose life alone matters.
    std::shared_ptr<const void> useOf(const SVideoStreamId& id);

    const boost::shared_ptr<IDeviceContext> deviceContext;
    const std::string address;
    const boost::shared_ptr<CVornModelList> modelList;
    std::string modelNumber;
    bool hasToldItsName = false; // preInit_getUnitModelName has succeeded
    const SModelInfo* model;     // never null

    std::mutex usesMutex; // guards uses
    std::map<SVideoStreamId, std::weak_ptr<const void>> uses;
};

} // namespace corvane::vorn_camera_base::v1_0
