#pragma once

#include "service/event_hub.h"
#include "service/kept_site.h"
#include "tests/support/temporary_folder.h"

#include <curl/curl.h>

#include <string>

namespace corvane::fuzz {

// A kept site of one camera, "gate", that nobody asks: it has not been started.
struct CUnaskedSite {
    static constexpr const char* File = R"({"cameras":[{"name":"gate","address":"127.0.0.1:9"}]})";

    // OpenSSL ends behind the site's threads, which use it, when it begins before them.
    const CURLcode beginning = curl_global_init(CURL_GLOBAL_DEFAULT);
    const test_support::CTemporaryFolder folder;
    service::CEventHub hub;
    service::CKeptSite site{site::SOptions(), folder.file("site.json", File), hub};
};

// Made ahead of the first input by LLVMFuzzerInitialize: loading the plug-in is none of an input's time.
inline CUnaskedSite& TheUnaskedSite() {
    static CUnaskedSite site;
    return site;
}

} // namespace corvane::fuzz
