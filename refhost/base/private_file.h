#pragma once

#include <string>

namespace corvane::refhost {

// Opens a file that may hold what only its owner should read, with open()'s `flags`: a new one is the owner's
// alone. In a directory that others can write to, a symbolic link is not followed, since anybody could have
// put it there. The descriptor, or -1 with errno set.
int OpenPrivateFile(const std::string& path, int flags);

// What OpenPrivateFile's errno means, for people.
std::string PrivateFileFailure(int error);

} // namespace corvane::refhost
