#pragma once

// What the program uses so often that it is named without its namespace.

#include "host/camera.h"
#include "host/event_stream_controller.h"
#include "host/events.h"
#include "host/gst_object.h"
#include "host/handler.h"
#include "host/model_list.h"
#include "host/ptz_controller.h"
#include "host/stream_controller.h"
#include "operations/operations.h"
#include "refhost/base/log.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace corvane::site {

using device_handler::v1_0::CAsyncOp;
using device_handler::v1_0::CAuthentication;
using device_handler::v1_0::CDeviceId;
using device_handler::v1_0::CError;
using device_handler::v1_0::COperationError;
using device_handler::v1_0::COperationRegistry;
using device_handler::v1_0::COptional;
using device_handler::v1_0::CString;
using device_handler::v1_0::CVornModelList;
using device_handler::v1_0::DryContactActive;
using device_handler::v1_0::DryContactState;
using device_handler::v1_0::IsOffered;
using device_handler::v1_0::IStreamController;
using device_handler::v1_0::Origin;
using device_handler::v1_0::RtnCode;
using device_handler::v1_0::SAdjustment;
using device_handler::v1_0::SAnswer;
using device_handler::v1_0::SArgumentReader;
using device_handler::v1_0::SFamily;
using device_handler::v1_0::SModelInfo;
using device_handler::v1_0::SOperation;
using device_handler::v1_0::SStreamEnd;
using device_handler::v1_0::SStreamEvent;
using device_handler::v1_0::SWhiteBalanceModel;
using device_handler::v1_0::SwitchKind;
using device_handler::v1_0::SwitchValues;
using device_handler::v1_0::VideoCodec;
using handler_impl::SAudioStreamId;
using handler_impl::SVideoStreamId;
using nlohmann::ordered_json;
using refhost::HttpFailure;
using refhost::SHttpExchange;
using vorn_camera_base::v1_0::CVornCamera;
using vorn_camera_base::v1_0::SVideoField;
using vorn_camera_base::v1_0::SVornVidValsInDb;
using vorn_camera_base::v1_0::VideoFields;
using vorn_event_stream_controller::v1_0::CEventStreamController;
using vorn_gst::v1_0::CGstRef;
using vorn_handler::v1_0::CVornHandler;
using vorn_ptz_controller::v1_0::CPtzController;

using Texts = std::vector<std::string>;

} // namespace corvane::site
