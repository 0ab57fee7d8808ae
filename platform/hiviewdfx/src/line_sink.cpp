#include "line_sink.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace OHOS::Host {

LineSink::~LineSink()
{
    Close();
}

bool LineSink::Open(const std::string& path)
{
    const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) {
        return false;
    }
    Borrow(fd);
    owned_ = true;
    return true;
}

void LineSink::Borrow(int fd)
{
    Close();
    fd_ = fd;
    struct stat file {};
    waits_ = fstat(fd, &file) != 0 || !S_ISREG(file.st_mode);
}

void LineSink::Close()
{
    if (owned_) {
        close(fd_);
    }
    fd_ = -1;
    owned_ = false;
    stuck_ = false;
    torn_ = false;
}

bool LineSink::WaitWritable()
{
    pollfd waiting{fd_, POLLOUT, 0};
    int ready = 0;
    do {
        ready = poll(&waiting, 1, stuck_ ? 0 : PATIENCE_MS);
    } while (ready < 0 && errno == EINTR);
    stuck_ = ready == 0;
    return ready == 1 && waiting.revents == POLLOUT; // with an error beside it the reader is gone
}

bool LineSink::Append(std::string_view line)
{
    if (!IsOpen() || (waits_ && !WaitWritable())) {
        return false;
    }
    char end[] = {'\n'};
    iovec parts[] = {{end, torn_ ? sizeof(end) : 0}, {const_cast<char*>(line.data()), line.size()}, {end, sizeof(end)}};
    const size_t whole = parts[0].iov_len + parts[1].iov_len + parts[2].iov_len;
    ssize_t written = 0;
    do {
        written = writev(fd_, parts, 3);
    } while (written < 0 && errno == EINTR);
    if (written > 0) {
        torn_ = static_cast<size_t>(written) != whole;
    }
    return written > 0 && !torn_;
}

} // namespace OHOS::Host
