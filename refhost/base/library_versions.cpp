#include "refhost/base/library_versions.h"

#include <curl/curl.h>
#include <gst/gst.h>

namespace corvane::refhost {

std::string FrameworkVersion() {
    return VORN_HOST_VERSION;
}

std::string LibraryVersions() {
    gchar* const gstreamer = gst_version_string();
    std::string versions = std::string(curl_version()) + "\n" + gstreamer + "\n";
    g_free(gstreamer);
    return versions;
}

} // namespace corvane::refhost
