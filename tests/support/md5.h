#pragma once

#include <glib.h>

#include <memory>
#include <string>

namespace corvane::tests {

// In hexadecimal digits, as Digest authentication has it.
inline std::string Md5(const std::string& text) {
    const std::unique_ptr<gchar, decltype(&g_free)> digest(
        g_compute_checksum_for_data(G_CHECKSUM_MD5, reinterpret_cast<const guchar*>(text.data()),
                                    text.size()),
        g_free);
    return digest.get();
}

} // namespace corvane::tests
