#include "byte_pump.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "host/faults.h"
#include "host/scheduler.h"
#include "report_queue.h"

namespace OHOS::Pelago::Local {
namespace {

constexpr size_t PIPE_BYTES = size_t{1024} * 1024; // a wish: a user who has many gets the ordinary 64 KiB

struct Pipe {
    Host::UniqueFd in;
    Host::UniqueFd out;
    size_t bytes = size_t{64} * 1024; // that it holds

    [[nodiscard]] bool Open()
    {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            return false;
        }
        out = Host::UniqueFd(ends[0]);
        in = Host::UniqueFd(ends[1]);
        int got = ::fcntl(in.Get(), F_SETPIPE_SZ, PIPE_BYTES);
        bytes = got > 0 ? static_cast<size_t>(got) : bytes;
        return true;
    }
};

// As splice, but goes on after a signal. `offset` may be null.
ssize_t Splice(int from, off_t* fromOffset, int to, off_t* toOffset, size_t count)
{
    ssize_t moved = 0;
    do {
        moved = ::splice(from, fromOffset, to, toOffset, count, SPLICE_F_MOVE);
    } while (moved < 0 && errno == EINTR);
    return moved;
}

// A socket that is shut down raises it in the thread that writes; the thread belongs to the transfer and ends with it.
void BlockPipeSignal()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    (void)::pthread_sigmask(SIG_BLOCK, &set, nullptr); // fails for wrong arguments only
}

Outcome Lost()
{
    return {Ending::LOST, "the bytes stopped"};
}

[[nodiscard]] bool DrainInto(int socket, const Pipe& pipe, size_t count)
{
    while (count > 0) {
        ssize_t moved = Splice(pipe.out.Get(), nullptr, socket, nullptr, count);
        if (moved <= 0) {
            return false;
        }
        count -= static_cast<size_t>(moved);
    }
    return true;
}

Outcome SendOne(const Source& source, int socket, const Pipe& pipe, uint64_t& sent)
{
    off_t offset = 0;
    while (static_cast<uint64_t>(offset) < source.size) {
        size_t wanted = std::min<uint64_t>(source.size - static_cast<uint64_t>(offset), pipe.bytes);
        ssize_t moved = Splice(source.fd.Get(), &offset, pipe.in.Get(), nullptr, wanted);
        if (moved < 0) {
            return {Ending::BAD_SOURCE, std::string("a source cannot be read: ") + std::strerror(errno)};
        }
        if (moved == 0) {
            return {Ending::SOURCE_CHANGED, "a source shrank while it was sent"};
        }
        if (!DrainInto(socket, pipe, static_cast<size_t>(moved))) {
            return Lost();
        }
        sent += static_cast<uint64_t>(moved);
    }
    struct stat status {};
    if (::fstat(source.fd.Get(), &status) != 0 || static_cast<uint64_t>(status.st_size) != source.size) {
        return {Ending::SOURCE_CHANGED, "a source changed its size while it was sent"};
    }
    return {};
}

// Tells how far a receive is, at its pace.
class Pace {
public:
    explicit Pace(const std::function<void(uint64_t)>& onTaken) : onTaken_(onTaken)
    {}
    void Took(size_t count)
    {
        taken_ += count;
        int64_t now = Host::Scheduler::Instance().BootTimeMs();
        if (now - lastMs_ >= PROGRESS_INTERVAL_MS) {
            lastMs_ = now;
            onTaken_(taken_);
        }
    }
    void End()
    {
        onTaken_(taken_);
    }

private:
    const std::function<void(uint64_t)>& onTaken_;
    uint64_t taken_ = 0;
    int64_t lastMs_ = -PROGRESS_INTERVAL_MS;
};

// Puts what is in the pipe into the file. 0 or errno.
[[nodiscard]] int DrainTo(int file, off_t& offset, const Pipe& pipe, size_t count)
{
    while (count > 0) {
        if (Host::Faults::Take("engine.write")) {
            return ENOSPC;
        }
        ssize_t moved = Splice(pipe.out.Get(), nullptr, file, &offset, count);
        if (moved <= 0) {
            return moved == 0 ? EIO : errno;
        }
        count -= static_cast<size_t>(moved);
    }
    return 0;
}

Outcome ReceiveOne(int file, uint64_t size, int socket, const Pipe& pipe, Pace& pace)
{
    off_t offset = 0;
    while (static_cast<uint64_t>(offset) < size) {
        size_t wanted = std::min<uint64_t>(size - static_cast<uint64_t>(offset), pipe.bytes);
        ssize_t moved = Splice(socket, nullptr, pipe.in.Get(), nullptr, wanted);
        if (moved <= 0) {
            return Lost();
        }
        if (int error = DrainTo(file, offset, pipe, static_cast<size_t>(moved)); error != 0) {
            bool full = error == ENOSPC || error == EDQUOT || error == EFBIG;
            return {full ? Ending::NO_SPACE : Ending::RECEIVER_IO,
                std::string("a file cannot be written: ") + std::strerror(error)};
        }
        pace.Took(static_cast<size_t>(moved));
    }
    return {};
}

} // namespace

Outcome SendBytesOf(const std::vector<Source>& sources, int socket, uint64_t& sent)
{
    BlockPipeSignal();
    Pipe pipe;
    if (!pipe.Open()) {
        return {Ending::BAD_SOURCE, "no pipe can be opened"};
    }
    for (const Source& source : sources) {
        if (Outcome outcome = SendOne(source, socket, pipe, sent); outcome.ending != Ending::DONE) {
            return outcome;
        }
    }
    return {};
}

Outcome ReceiveBytesInto(FileStore& store, const std::vector<OfferedFile>& files, int socket,
    const std::function<void(uint64_t taken)>& onTaken)
{
    Pipe pipe;
    if (!pipe.Open()) {
        return {Ending::RECEIVER_IO, "no pipe can be opened"};
    }
    Pace pace(onTaken);
    for (const OfferedFile& file : files) {
        Outcome failure;
        int fd = store.Create(file.name, file.size, failure);
        if (fd < 0) {
            return failure;
        }
        if (Outcome outcome = ReceiveOne(fd, file.size, socket, pipe, pace); outcome.ending != Ending::DONE) {
            return outcome;
        }
    }
    pace.End();
    return {};
}

} // namespace OHOS::Pelago::Local
