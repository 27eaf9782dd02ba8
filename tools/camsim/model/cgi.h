#pragma once

#include "model/camera.h"
#include "model/form.h"

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

using CgiAnswer = CgiReply (*)(Camera&, const CgiRequest&);

/// Lets the camera do what the request asks and tells what it answers; 404 where it has no such CGI.
CgiReply answerCgi(Camera& camera, const CgiRequest& request);

/// What a camera answers for a CGI that it does not have.
CgiReply noSuchCgi();

/// Whether the request is for a reply that stays open and tells the levels of the camera's alarm inputs.
bool isMonitorRequest(const Camera& camera, const CgiRequest& request);

} // namespace camsim
