#include "file_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "file_names.h"
#include "host/faults.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr mode_t FILE_MODE = 0644;

Outcome FailureOf(int error, const char* what)
{
    bool full = error == ENOSPC || error == EDQUOT || error == EFBIG;
    return {full ? Ending::NO_SPACE : Ending::RECEIVER_IO, std::string(what) + ": " + std::strerror(error)};
}

// Takes the room at once, so that a disk that is too small is known before the bytes come. 0 or errno.
[[nodiscard]] int Reserve(int fd, uint64_t size)
{
    if (Host::Faults::Take("engine.reserve")) {
        return ENOSPC;
    }
    struct statvfs disk {};
    if (::fstatvfs(fd, &disk) == 0 && disk.f_blocks != 0 && disk.f_frsize != 0 &&
        size / disk.f_frsize > disk.f_bavail) {
        return ENOSPC; // spares the disk the attempt
    }
    if (size == 0 || ::fallocate(fd, 0, 0, static_cast<off_t>(size)) == 0) {
        return 0;
    }
    return errno == EOPNOTSUPP || errno == ENOSYS ? 0 : errno;
}

std::string HiddenName()
{
    static std::atomic<uint64_t> number{0};
    return ".pelago-" + std::to_string(::getpid()) + "-" + std::to_string(++number) + ".part";
}

} // namespace

FileStore::~FileStore()
{
    for (const File& file : files_) {
        if (!file.hidden.empty()) {
            (void)::unlinkat(directory_.Get(), file.hidden.c_str(), 0); // gone already: somebody tidied up
        }
    }
}

Host::UniqueFd FileStore::OpenNameless(std::string& hidden) const
{
    Host::UniqueFd fd;
    if (!Host::Faults::Take("engine.tmpfile")) {
        fd = Host::UniqueFd(::openat(directory_.Get(), ".", O_TMPFILE | O_RDWR | O_CLOEXEC, FILE_MODE));
    }
    if (fd || errno == ENOSPC || errno == EDQUOT || errno == EACCES || errno == EMFILE || errno == ENFILE) {
        return fd;
    }
    hidden = HiddenName();
    fd = Host::UniqueFd(
        ::openat(directory_.Get(), hidden.c_str(), O_CREAT | O_EXCL | O_NOFOLLOW | O_RDWR | O_CLOEXEC, FILE_MODE));
    if (!fd) {
        hidden.clear();
    }
    return fd;
}

int FileStore::Create(const std::string& name, uint64_t size, Outcome& failure)
{
    File file;
    file.name = name;
    file.fd = OpenNameless(file.hidden);
    if (!file.fd) {
        failure = FailureOf(errno, "a file cannot be made");
        return -1;
    }
    int fd = file.fd.Get();
    files_.push_back(std::move(file));
    if (int error = Reserve(fd, size); error != 0) {
        failure = FailureOf(error, "there is no room for a file");
        return -1;
    }
    return fd;
}

int FileStore::Link(const File& file, const std::string& name) const
{
    if (Host::Faults::Take("engine.link")) {
        return EIO;
    }
    int result = 0;
    if (file.hidden.empty()) {
        std::string self = "/proc/self/fd/" + std::to_string(file.fd.Get());
        result = ::linkat(AT_FDCWD, self.c_str(), directory_.Get(), name.c_str(), AT_SYMLINK_FOLLOW);
    } else {
        result = ::renameat2(directory_.Get(), file.hidden.c_str(), directory_.Get(), name.c_str(), RENAME_NOREPLACE);
    }
    return result == 0 ? 0 : errno;
}

bool FileStore::CommitOne(File& file, Outcome& failure) const
{
    for (unsigned n = 1; n <= MAX_NUMBERED_NAMES; ++n) {
        std::string name = n == 1 ? file.name : NumberedName(file.name, n);
        int error = Link(file, name);
        if (error == 0) {
            file.name = name;
            file.hidden.clear();
            return true;
        }
        if (error != EEXIST) {
            failure = FailureOf(error, "a file cannot be given its name");
            return false;
        }
    }
    failure = {Ending::RECEIVER_IO, "too many files of one name"};
    return false;
}

bool FileStore::Commit(std::vector<std::string>& names, Outcome& failure)
{
    for (size_t i = 0; i < files_.size(); ++i) {
        if (!CommitOne(files_[i], failure)) {
            TakeBack(i);
            return false;
        }
    }
    for (const File& file : files_) {
        names.push_back(file.name);
    }
    return true;
}

// Only what is still our file: somebody may have moved it and put another one there.
void FileStore::TakeBack(size_t committed)
{
    for (size_t i = 0; i < committed; ++i) {
        struct stat ours {};
        struct stat there {};
        const char* name = files_[i].name.c_str();
        if (::fstat(files_[i].fd.Get(), &ours) == 0 &&
            ::fstatat(directory_.Get(), name, &there, AT_SYMLINK_NOFOLLOW) == 0 && ours.st_dev == there.st_dev &&
            ours.st_ino == there.st_ino) {
            (void)::unlinkat(directory_.Get(), name, 0); // nothing more can be done about it
        }
    }
}

} // namespace OHOS::Pelago::Local
