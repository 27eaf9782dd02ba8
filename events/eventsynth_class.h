#pragma once

#include "events/eventsynth.h"

// What the element's class and its instance share.

GST_DEBUG_CATEGORY_EXTERN(vorn_eventsynth_debug);
#define GST_CAT_DEFAULT vorn_eventsynth_debug

namespace corvane::vorn_event::v1_0 {

// The ids of the properties that are texts.
enum : guint { UsernameProperty = 8, PasswordProperty = 9, AddressProperty = 10 };

} // namespace corvane::vorn_event::v1_0
