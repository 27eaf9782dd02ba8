#pragma once

#include <string>

namespace corvane::vornhost {

// The plug-in and the model list that were built or installed beside the program. When there is none, the
// file that was expected first.
std::string DefaultPluginFile();
std::string DefaultModelListFile();

} // namespace corvane::vornhost
