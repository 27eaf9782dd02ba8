#pragma once

#include "site/site_file.h"

#include <string>

namespace corvane::site {

// A site as the text of a site file, a camera a line where it has no streams. Credentials that all cameras
// have are the defaults'; of the rest every camera tells its own. It is fit for a terminal, as JsonText() is.
std::string SiteFileText(const SSite& site);

} // namespace corvane::site
