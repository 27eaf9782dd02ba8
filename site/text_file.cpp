#include "site/text_file.h"

#include "refhost/base/private_file.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace corvane::site {
namespace {

constexpr std::uintmax_t LargestFile = std::uintmax_t{64} << 20;

std::string Reason(int error) {
    return std::generic_category().message(error);
}

bool WriteAll(int descriptor, const std::string& text) {
    for (std::size_t written = 0; written < text.size();) {
        const ::ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
            return false;
        written += static_cast<std::size_t>(std::max<::ssize_t>(count, 0));
    }
    return ::fsync(descriptor) == 0;
}

// Leaves what root writes to whom the file, or else its folder, belongs. Of anybody else it is their own.
bool GiveToOwner(int descriptor, const std::string& file) {
    if (::geteuid() != 0)
        return true;
    const std::string folder = std::filesystem::path(file).parent_path().string();
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0 && ::stat(folder.empty() ? "." : folder.c_str(), &status) != 0)
        return false;
    return ::fchown(descriptor, status.st_uid, status.st_gid) == 0;
}

// Of its own, since another program may be about the same.
std::string TemporaryOf(const std::string& file) {
    return file + ".new-" + std::to_string(::gettid());
}

int OpenTemporary(const std::string& file, const std::string& temporary) {
    std::error_code none;
    const auto there = std::filesystem::symlink_status(file, none);
    if (std::filesystem::exists(there) && !std::filesystem::is_regular_file(there))
        throw CUnwritableFile(file, "something else than a file has the name");
    const refhost::SOpenedFile opened =
        refhost::OpenPrivateFile(temporary, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC);
    if (opened.descriptor < 0)
        throw CUnwritableFile(file, opened.failure);
    return opened.descriptor;
}

} // namespace

std::string ReadTextFile(const std::string& file) {
    errno = 0;
    std::ifstream in(file, std::ios::binary);
    std::string text;
    std::vector<char> block(std::size_t{64} << 10);
    while (in && text.size() <= LargestFile) { // which some files, as "/dev/zero", do not tell beforehand
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        text.append(block.data(), static_cast<std::size_t>(in.gcount()));
    }
    if (text.size() > LargestFile)
        throw CFileError(file + ": is larger than 64 MiB");
    if (!in.eof())
        throw CFileError(file + ": cannot be read: " + Reason(errno));
    return text;
}

void ReplaceFile(const std::string& file, const std::string& text) {
    const std::string temporary = TemporaryOf(file);
    const int descriptor = OpenTemporary(file, temporary);
    bool isWritten = WriteAll(descriptor, text) && GiveToOwner(descriptor, file);
    int reason = errno;
    ::close(descriptor);
    if (isWritten && std::rename(temporary.c_str(), file.c_str()) != 0) {
        isWritten = false;
        reason = errno;
    }
    if (!isWritten) {
        (void)std::remove(temporary.c_str());
        throw CUnwritableFile(file, Reason(reason));
    }
}

void RequireReplaceable(const std::string& file) {
    const std::string temporary = TemporaryOf(file);
    ::close(OpenTemporary(file, temporary));
    (void)std::remove(temporary.c_str());
}

void ReplaceJsonFile(const std::string& file, const nlohmann::ordered_json& value) {
    ReplaceFile(file, value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

CFileLock::CFileLock(const std::string& file) : descriptor_(::open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0 || ::flock(descriptor_, LOCK_EX) != 0) {
        const int reason = errno;
        if (descriptor_ >= 0)
            ::close(descriptor_);
        throw CFileError(file + ": cannot be read: " + Reason(reason));
    }
}

CFileLock::~CFileLock() {
    ::close(descriptor_);
}

} // namespace corvane::site
