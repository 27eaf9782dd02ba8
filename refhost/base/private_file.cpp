#include "refhost/base/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace corvane::refhost {
namespace {

constexpr mode_t OwnerAlone = S_IRUSR | S_IWUSR;

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool othersCanWriteTo(const std::string& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0)
        return true; // nobody can say, and the file will not open either
    const bool isOwnersAlone = status.st_uid == ::geteuid() || status.st_uid == 0;
    return !isOwnersAlone || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

} // namespace

int OpenPrivateFile(const std::string& path, int flags) {
    if (othersCanWriteTo(folderOf(path)))
        flags |= O_NOFOLLOW;
    return ::open(path.c_str(), flags | O_CLOEXEC, OwnerAlone);
}

std::string PrivateFileFailure(int error) {
    return error == ELOOP ? "it is a symbolic link in a directory that others can write to"
                          : std::generic_category().message(error);
}

} // namespace corvane::refhost
