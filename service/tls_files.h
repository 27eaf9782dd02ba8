#pragma once

#include "service/http_server.h"

#include <string>

namespace corvane::service {

// The certificate and the key of the files, which are there and belong together; none where no file is named.
// Throws site::CFailure.
STlsFiles ReadTlsFiles(const std::string& certificateFile, const std::string& keyFile);

} // namespace corvane::service
