#pragma once

#include "host/api.h"
#include <string>

namespace corvane::refhost {

struct SOpenedFile {
    int descriptor = -1; // the caller's to close; -1: not opened
    std::string failure; // why not, for people
};

// Opens a file that may hold what only its owner should read, with open()'s `flags`: a new one is the owner's
// alone. In a directory that others can write to, anybody could have put there what has its name: neither the
// file nor a directory on the way to it may be a symbolic link there, and a file that is there already must
// be this user's and nobody else's to write.
VORN_HOST_API SOpenedFile OpenPrivateFile(const std::string& path, int flags);

// The path of what `descriptor` is open on, free of symbolic links.
VORN_HOST_API std::string PathWithoutLinks(int descriptor);

} // namespace corvane::refhost
