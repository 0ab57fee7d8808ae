#ifndef PLATFORM_HOST_UNIQUE_FD_H
#define PLATFORM_HOST_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace OHOS::Host {

// Owns one file descriptor, or none, and closes it. One thread at a time. It opens nothing and knows no kinds of files.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd)
    {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.Detach())
    {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        Reset(other.Detach());
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
    explicit operator bool() const
    {
        return IsOpen();
    }
    // The caller closes it from here on.
    [[nodiscard]] int Detach()
    {
        return std::exchange(fd_, -1);
    }
    void Reset(int fd = -1)
    {
        if (fd_ >= 0) {
            (void)::close(fd_); // it is gone whatever close says; nothing here relies on a late write error
        }
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

} // namespace OHOS::Host

#endif // PLATFORM_HOST_UNIQUE_FD_H
