#include "tools/vornhost/recording/output_file.h"

#include "refhost/base/private_file.h"
#include "tools/vornhost/console/exit_status.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace corvane::vornhost {
namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
    throw CFailure(ExitStatus::WrongUsage, "the file \"" + path + "\" cannot be written: " + reason);
}

} // namespace

COutputFile::COutputFile(std::string path) : path_(std::move(path)) {
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

COutputFile::~COutputFile() {
    if (made_ && !begun_)
        ::unlink(path_.c_str());
    ::close(descriptor_);
}

int COutputFile::begin() {
    begun_ = true;
    return ::ftruncate(descriptor_, 0) == 0 ? 0 : errno;
}

long long COutputFile::size() const {
    struct stat status {};
    return ::fstat(descriptor_, &status) == 0 ? static_cast<long long>(status.st_size) : 0;
}

} // namespace corvane::vornhost
