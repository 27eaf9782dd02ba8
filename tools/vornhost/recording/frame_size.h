#pragma once

#include <gst/gst.h>

#include <string>

namespace corvane::vornhost {

// The size of the pictures that go through a pad, "WIDTHxHEIGHT"; empty while it is not known.
std::string FrameSizeOf(GstPad* pad);

} // namespace corvane::vornhost
