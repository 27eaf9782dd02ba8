#pragma once

#include "camera.h"
#include "form.h"

#include <string>

namespace camsim {

struct CgiRequest {
    std::string path;
    Parameters parameters; ///< of the query, then of the body
};

struct CgiReply {
    unsigned status = 200;
    std::string body;
    bool restart = false; ///< the camera restarts once it has answered
};

/// Lets the camera do what the request asks and tells what it answers; 404 where it has no such CGI.
CgiReply answerCgi(Camera& camera, const CgiRequest& request);

} // namespace camsim
