#ifndef PLATFORM_IPC_UNIQUE_FD_H
#define PLATFORM_IPC_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace OHOS::Ipc {

// Owns one file descriptor, or none, and closes it. One thread at a time.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd)
    {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1))
    {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        Reset(std::exchange(other.fd_, -1));
        return *this;
    }
    ~UniqueFd()
    {
        Reset();
    }

    [[nodiscard]] int Get() const
    {
        return fd_;
    }
    [[nodiscard]] bool IsOpen() const
    {
        return fd_ >= 0;
    }
    // The caller closes it from here on.
    [[nodiscard]] int Detach()
    {
        return std::exchange(fd_, -1);
    }
    void Reset(int fd = -1)
    {
        if (fd_ >= 0) {
            (void)::close(fd_); // the descriptor is gone whatever close says, and it held nothing that could be lost
        }
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_UNIQUE_FD_H
