#pragma once

#include <gst/gst.h>

#include <memory>

namespace corvane::refhost {

struct SGstUnref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};

// A reference to a GStreamer object.
template <class T>
using CGstRef = std::unique_ptr<T, SGstUnref>;

} // namespace corvane::refhost
