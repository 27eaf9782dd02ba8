#pragma once

#include "model/camera.h"
#include "model/cgi_parameters.h"
#include "model/form.h"

#include <string>

namespace camsim {

struct SCgiRequest {
    std::string path;
    Parameters parameters; // of the query, then of the body
};

struct SCgiReply {
    unsigned status = 200;
    std::string body;
    bool restart = false; // the camera restarts once it has answered
    WrittenSettings written{};
};

using CgiAnswer = SCgiReply (*)(CCamera&, const SCgiRequest&);

// Lets the camera do what the request asks and tells what it answers; 404 where it has no such CGI.
SCgiReply AnswerCgi(CCamera& camera, const SCgiRequest& request);

// What a camera answers for a CGI that it does not have.
SCgiReply NoSuchCgi();

// Whether the request is for a reply that stays open and tells the levels of the camera's alarm inputs.
bool IsMonitorRequest(const CCamera& camera, const SCgiRequest& request);

} // namespace camsim
