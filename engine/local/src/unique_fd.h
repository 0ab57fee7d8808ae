#ifndef PELAGO_ENGINE_LOCAL_UNIQUE_FD_H
#define PELAGO_ENGINE_LOCAL_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace OHOS::Pelago::Local {

// Owns one descriptor, or none. One thread at a time.
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
    explicit operator bool() const
    {
        return fd_ >= 0;
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

} // namespace OHOS::Pelago::Local

#endif // PELAGO_ENGINE_LOCAL_UNIQUE_FD_H
