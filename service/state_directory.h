#pragma once

#include <string>

namespace corvane::service {

// Where a service keeps what outlives it, when nobody says otherwise: $STATE_DIRECTORY (the first, where
// systemd gives several), else $XDG_STATE_HOME/vornhost, else $HOME/.local/state/vornhost. Throws
// site::CFailure where none of them is set.
std::string UsualStateDirectory();

// Makes the directory, its owner's alone, where it is not there yet. Throws site::CFailure.
void MakeStateDirectory(const std::string& directory);

// The token file of a state directory.
std::string TokenFileIn(const std::string& directory);

} // namespace corvane::service
