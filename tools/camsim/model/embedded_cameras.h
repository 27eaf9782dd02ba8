#pragma once

#include <map>
#include <string>
#include <string_view>

namespace camsim {

// The text files of the cameras that come with the program, by their path below `cameras/`
// ("F320/info.txt").
const std::map<std::string, std::string_view>& EmbeddedCameraFiles();

} // namespace camsim
