#include "ipc_socket.h"

#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <mutex>
#include <unordered_set>
#include <utility>

namespace OHOS::Ipc {

namespace {

// The transport's descriptors of this process.
class OpenSockets {
public:
    static OpenSockets& Get()
    {
        static auto* sockets = new OpenSockets; // sockets of static objects close after every static of ours
        return *sockets;
    }

    void Add(int fd)
    {
        std::lock_guard lock(mutex_);
        fds_.insert(fd);
    }
    // Closes under the lock, so that no fork sees a number that is listed and means something else by now.
    void Close(int fd)
    {
        std::lock_guard lock(mutex_);
        fds_.erase(fd);
        (void)::close(fd); // a socket's close has nothing to report
    }

    std::atomic<uint32_t> generation{1};

private:
    OpenSockets()
    {
        (void)::pthread_atfork([] { Get().mutex_.lock(); }, [] { Get().mutex_.unlock(); }, [] { Get().EnterChild(); });
    }

    void EnterChild()
    {
        for (const int fd : fds_) {
            (void)::close(fd);
        }
        fds_.clear();
        ++generation;
        mutex_.unlock();
    }

    std::mutex mutex_;
    std::unordered_set<int> fds_; // guarded by mutex_
};

} // namespace

uint32_t ProcessGeneration()
{
    return OpenSockets::Get().generation.load(std::memory_order_relaxed);
}

IpcSocket::IpcSocket(Host::UniqueFd fd) : fd_(fd.Detach()), generation_(ProcessGeneration())
{
    if (fd_ >= 0) {
        OpenSockets::Get().Add(fd_);
    }
}

IpcSocket::IpcSocket(IpcSocket&& other) noexcept : fd_(std::exchange(other.fd_, -1)), generation_(other.generation_)
{}

IpcSocket& IpcSocket::operator=(IpcSocket&& other) noexcept
{
    Close();
    fd_ = std::exchange(other.fd_, -1);
    generation_ = other.generation_;
    return *this;
}

IpcSocket::~IpcSocket()
{
    Close();
}

void IpcSocket::Close()
{
    if (fd_ >= 0 && generation_ == ProcessGeneration()) {
        OpenSockets::Get().Close(fd_);
    }
    fd_ = -1;
}

size_t IpcSocket::Unread() const
{
    int unread = 0;
    return ::ioctl(fd_, FIONREAD, &unread) == 0 ? static_cast<size_t>(unread) : 0;
}

void IpcSocket::Shutdown() const
{
    (void)::shutdown(fd_, SHUT_RDWR); // fails when the peer has gone, which is as good
}

void IpcSocket::ShutdownReceiving() const
{
    (void)::shutdown(fd_, SHUT_RD);
}

SocketPair SocketPair::Make()
{
    std::array<int, 2> fds = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds.data()) != 0) {
        return {};
    }
    return {Host::UniqueFd(fds[0]), Host::UniqueFd(fds[1])};
}

bool IsLocalStream(int fd)
{
    const auto option = [fd](int name) {
        int value = -1;
        socklen_t size = sizeof(value);
        return ::getsockopt(fd, SOL_SOCKET, name, &value, &size) == 0 ? value : -1;
    };
    return option(SO_DOMAIN) == AF_UNIX && option(SO_TYPE) == SOCK_STREAM && option(SO_ACCEPTCONN) == 0;
}

} // namespace OHOS::Ipc
