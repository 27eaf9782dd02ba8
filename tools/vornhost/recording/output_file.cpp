#include "tools/vornhost/recording/output_file.h"

#include "refhost/base/private_file.h"
#include "site/base/exit_status.h"
#include "tools/vornhost/names.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace corvane::vornhost {
namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
    throw CFailure(ExitStatus::WrongUsage, UnwritableText(path, reason), OwnCause::CannotWrite);
}

} // namespace

COutputFile::COutputFile(std::string path) : path_(std::move(path)) {
    if (path_ == StandardOutput) {
        takeStandardOutput();
        return;
    }
    // Opening a pipe without a reader must not wait for one.
    constexpr int Flags = O_WRONLY | O_CREAT | O_NONBLOCK;
    refhost::SOpenedFile opened = refhost::OpenPrivateFile(path_, Flags | O_EXCL);
    made_ = opened.descriptor >= 0;
    if (!made_)
        opened = refhost::OpenPrivateFile(path_, Flags);
    if (opened.descriptor < 0)
        Refuse(path_, opened.failure);
    descriptor_ = opened.descriptor;
    struct stat status {};
    if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor_);
        Refuse(path_, "it is not a regular file");
    }
}

void COutputFile::takeStandardOutput() {
    if (::isatty(STDOUT_FILENO) != 0)
        Refuse(path_, "standard output is a terminal; let it be a file or a pipe");
    descriptor_ = ::dup(STDOUT_FILENO);
    if (descriptor_ < 0)
        Refuse(path_, std::generic_category().message(errno));
    isSeekable_ = false; // of a file too: what stands before in it is somebody else's
}

COutputFile::~COutputFile() {
    if (made_ && !begun_)
        ::unlink(path_.c_str());
    ::close(descriptor_);
}

int COutputFile::begin() {
    begun_ = true;
    if (!isSeekable_)
        return 0;
    return ::ftruncate(descriptor_, 0) == 0 ? 0 : errno;
}

int COutputFile::write(const std::string& content) {
    if (const int error = begin())
        return error;
    for (std::size_t done = 0; done < content.size();) {
        const ssize_t written = ::write(descriptor_, content.data() + done, content.size() - done);
        if (written < 0 && errno != EINTR)
            return errno;
        done += written < 0 ? 0 : static_cast<std::size_t>(written);
    }
    return 0;
}

long long COutputFile::size() const {
    struct stat status {};
    return isSeekable_ && ::fstat(descriptor_, &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

} // namespace corvane::vornhost
