#include "host/gst_context.h"

#include "refhost/base/log.h"
#include "refhost/base/memory_limit.h"

#include <gst/gst.h>

#include <cstdio>
#include <cstdlib>
#include <new>

namespace corvane::vorn_gst::v1_0 {
namespace {

// In place of GStreamer's own, which would write what its elements send, credentials too, as it stands.
void WriteMasked(GstDebugCategory* category, GstDebugLevel level, const gchar* file, const gchar* function,
                 gint line, GObject* object, GstDebugMessage* message, gpointer) {
    gchar* const text = gst_debug_log_get_line(category, level, file, function, line, object, message);
    std::fputs(refhost::MaskSecrets(text).c_str(), stderr);
    g_free(text);
}

} // namespace

CGstContext::CGstContext() {
    // Without memory GStreamer finds its registry unreadable and writes another, in which the plug-ins that
    // it could not load are refused to every program from then on.
    if (refhost::IsMemoryShort())
        throw std::bad_alloc();
    GError* error = nullptr;
    if (!gst_init_check(nullptr, nullptr, &error)) {
        std::fprintf(stderr, "GStreamer cannot be initialised: %s\n",
                     error ? error->message : "no reason given");
        std::abort();
    }
    gst_debug_remove_log_function(gst_debug_log_default);
    gst_debug_add_log_function(WriteMasked, nullptr, nullptr);
}

CGstContext* CGstContext::Get() {
    static CGstContext context;
    return &context;
}

} // namespace corvane::vorn_gst::v1_0
