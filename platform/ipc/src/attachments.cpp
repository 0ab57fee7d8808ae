#include "attachments.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace OHOS::Ipc {

namespace {

constexpr int SEALS = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;

// Reading may neither block nor fail half-way for reasons that the sender controls, and a mapping must not end in a
// signal: only plain memory files pass, no files of a user's own file system and no huge pages.
bool IsMemoryFile(int fd, size_t size)
{
    struct statfs system = {};
    struct stat file = {};
    return ::fstatfs(fd, &system) == 0 && system.f_type == TMPFS_MAGIC && ::fstat(fd, &file) == 0 &&
           S_ISREG(file.st_mode) && static_cast<uint64_t>(file.st_size) >= size;
}

bool IsUnchangeable(int fd)
{
    constexpr int needed = F_SEAL_SHRINK | F_SEAL_WRITE;
    const int seals = ::fcntl(fd, F_GET_SEALS);
    return seals >= 0 && (seals & needed) == needed;
}

bool WriteAll(int fd, const uint8_t* data, size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

} // namespace

RawBlock RawBlock::Load(int fd, size_t size)
{
    if (!IsMemoryFile(fd, size)) {
        return {nullptr, 0};
    }
    return IsUnchangeable(fd) ? Map(fd, size) : Copy(fd, size);
}

RawBlock RawBlock::Map(int fd, size_t size)
{
    void* data = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    return data == MAP_FAILED ? RawBlock(nullptr, 0) : RawBlock(data, size);
}

RawBlock RawBlock::Copy(int fd, size_t size)
{
    RawBlock block(std::malloc(size), 0);
    size_t done = 0;
    while (block.data_ != nullptr && done < size) {
        const ssize_t read =
            ::pread(fd, static_cast<uint8_t*>(block.data_) + done, size - done, static_cast<off_t>(done));
        if (read < 0 && errno == EINTR) {
            continue;
        }
        if (read <= 0) { // cut while we read
            return {nullptr, 0};
        }
        done += static_cast<size_t>(read);
    }
    return block;
}

RawBlock::RawBlock(RawBlock&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), mapped_(std::exchange(other.mapped_, 0))
{}

RawBlock::~RawBlock()
{
    if (mapped_ > 0) {
        (void)::munmap(data_, mapped_); // cannot fail for a mapping of our own
    } else {
        std::free(data_);
    }
}

Host::UniqueFd MakeSealedFile(const void* data, size_t size)
{
    Host::UniqueFd file(::memfd_create("pelago-raw-data", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!file.IsOpen() || !WriteAll(file.Get(), static_cast<const uint8_t*>(data), size) ||
        ::fcntl(file.Get(), F_ADD_SEALS, SEALS) != 0) {
        file.Reset();
    }
    return file;
}

} // namespace OHOS::Ipc
