#include "refhost/base/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace corvane::refhost {
namespace {

constexpr mode_t OwnerAlone = S_IRUSR | S_IWUSR;
constexpr mode_t OthersWrite = S_IWGRP | S_IWOTH;

class CDescriptor {
public:
    explicit CDescriptor(int number) : number_(number) {}
    CDescriptor(CDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~CDescriptor() {
        if (number_ >= 0)
            ::close(number_);
    }

    int number() const { return number_; }
    int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

bool OthersCanWriteTo(const CDescriptor& folder) {
    struct stat status {};
    if (::fstat(folder.number(), &status) != 0)
        return true;
    const bool isOwnersAlone = status.st_uid == ::geteuid() || status.st_uid == 0;
    return !isOwnersAlone || (status.st_mode & OthersWrite) != 0;
}

bool IsLink(const CDescriptor& folder, const std::string& name) {
    struct stat status {};
    return ::fstatat(folder.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISLNK(status.st_mode);
}

CDescriptor OpenAt(const CDescriptor& folder, const std::string& name, int flags) {
    const bool mayBeALink = !OthersCanWriteTo(folder);
    CDescriptor opened(::openat(folder.number(), name.c_str(),
                                flags | O_CLOEXEC | (mayBeALink ? 0 : O_NOFOLLOW), OwnerAlone));
    if (opened.number() < 0) {
        const int error = errno;
        throw !mayBeALink && IsLink(folder, name)
            ? std::runtime_error("\"" + name +
                                 "\" is a symbolic link in a directory that others can write to")
            : std::runtime_error(std::generic_category().message(error));
    }
    return opened;
}

void RequireOwn(const CDescriptor& file) {
    struct stat status {};
    if (::fstat(file.number(), &status) != 0 || status.st_uid != ::geteuid() ||
        (status.st_mode & OthersWrite) != 0 || (S_ISREG(status.st_mode) && status.st_nlink != 1))
        throw std::runtime_error("it is not this user's alone, in a directory that others can write to");
}

CDescriptor OpenPrivate(const std::filesystem::path& path, int flags) {
    constexpr int Folder = O_PATH | O_DIRECTORY;
    CDescriptor folder(::open(path.is_absolute() ? "/" : ".", Folder | O_CLOEXEC));
    for (const auto& part : path.parent_path().relative_path())
        folder = OpenAt(folder, part, Folder);
    CDescriptor file = OpenAt(folder, path.has_filename() ? path.filename() : ".", flags);
    if (OthersCanWriteTo(folder))
        RequireOwn(file);
    return file;
}

} // namespace

SOpenedFile OpenPrivateFile(const std::string& path, int flags) {
    try {
        return {OpenPrivate(path, flags).release(), {}};
    } catch (const std::runtime_error& failure) {
        return {-1, failure.what()};
    }
}

std::string PathWithoutLinks(int descriptor) {
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
}

} // namespace corvane::refhost
