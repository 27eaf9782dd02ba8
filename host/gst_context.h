#pragma once

#include "host/api.h"

namespace corvane::vorn_gst::v1_0 {

// The process's GStreamer. Whoever makes elements, here or in a plug-in, gets it first.
class VORN_HOST_API CGstContext {
public:
    // The first call initialises GStreamer, later ones return the same context; it lives as long as the
    // process. Never null: a GStreamer that cannot be initialised ends the process with the reason, and one
    // that finds too little memory is not initialised: std::bad_alloc. Callable from any thread.
    //
    // GStreamer's own debug lines (GST_DEBUG) go to standard error with secrets masked.
    static CGstContext* Get();

    CGstContext(const CGstContext&) = delete;
    CGstContext& operator=(const CGstContext&) = delete;

private:
    CGstContext();
};

} // namespace corvane::vorn_gst::v1_0
