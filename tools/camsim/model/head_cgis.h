#pragma once

#include "model/cgi.h"

namespace camsim {

// The CGI of this path with which a camera's head is moved or asked, or null when there is none. It answers
// 404 where all that it is asked for needs axes that the camera has not; what it can make nothing of changes
// nothing.
CgiAnswer FindHeadCgi(std::string_view path);

} // namespace camsim
