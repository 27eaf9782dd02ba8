#pragma once

// The names under which a plug-in exports what host/object_factory.h declares, as the compiler mangles them.

namespace corvane::refhost::plugin_symbols {

inline constexpr const char* CreateHandler =
    "_ZN7corvane16vorn_obj_factory4v1_014CObjectFactory19createHandlerObject"
    "EPNS_14device_handler4v1_015IHandlerContextE";
inline constexpr const char* CreateCamera =
    "_ZN7corvane16vorn_obj_factory4v1_014CObjectFactory18createCameraObject"
    "ERN5boost10shared_ptrINS_14device_handler4v1_014IDeviceContextEEEPKcRNS4_INS6_14CVornModelListEEESB_";
inline constexpr const char* CreateController =
    "_ZN7corvane16vorn_obj_factory4v1_014CObjectFactory22createControllerObject"
    "EPNS_14device_handler4v1_014IDeviceContextEPKcS8_RN5boost10shared_ptrINS4_14CVornModelListEEE";
inline constexpr const char* CreatePtzController =
    "_ZN7corvane16vorn_obj_factory4v1_014CObjectFactory25createPtzControllerObject"
    "ERN5boost10shared_ptrINS_14device_handler4v1_014IDeviceContextEEEiPKcRNS4_INS_16vorn_camera_base4v1_011"
    "CVornCameraEEEj";
inline constexpr const char* BuildDate = "Handler_Build_Date";
inline constexpr const char* BuildId = "Handler_Build_Id";

} // namespace corvane::refhost::plugin_symbols
