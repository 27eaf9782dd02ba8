#pragma once

#include <gst/gst.h>

#include <memory>

namespace corvane::vorn_gst::v1_0 {

struct SGstUnref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};

// A reference to a GStreamer object.
template <class T>
using CGstRef = std::unique_ptr<T, SGstUnref>;

// The owner of an object as GStreamer's constructors return it, floating; an empty one for null.
template <class T>
CGstRef<T> TakeFloating(T* object) {
    return CGstRef<T>(object ? static_cast<T*>(gst_object_ref_sink(object)) : nullptr);
}

} // namespace corvane::vorn_gst::v1_0
