#ifndef PLATFORM_IPC_MESSAGE_READER_H
#define PLATFORM_IPC_MESSAGE_READER_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "descriptor_stream.h"
#include "message.h"

namespace OHOS::Ipc {

// What one process has begun to send and not finished, over all lanes of all its connections: counted by their readers.
// Any thread.
struct Backlog {
    std::atomic<size_t> bytes{0};
    std::atomic<size_t> descriptors{0};
};

// Makes messages of what comes over one lane. A small message is read whole with what follows it; the rest of a big one
// goes straight to where it will stay. Owned by the lane; one thread at a time. Never waits by itself.
class MessageReader {
public:
    enum class Step {
        MESSAGE, // one is whole
        MORE,    // Receive first
        BROKEN,  // the peer broke the rules; the lane is of no use any more
    };

    // `limits` and `backlog` outlive the reader.
    MessageReader(const Host::IpcLimits& limits, Backlog& backlog) : limits_(limits), backlog_(backlog)
    {}
    ~MessageReader()
    {
        Close();
    }
    MessageReader(const MessageReader&) = delete;
    MessageReader& operator=(const MessageReader&) = delete;

    // Reads once.
    [[nodiscard]] DescriptorStream::Fill Receive(int fd, int flags);
    // The next message of those read so far, or what is wrong in `why`.
    [[nodiscard]] Step Next(IncomingMessage& message, EndReason& why);
    // Nothing is read any more: what was begun does not count.
    void Close()
    {
        SetCounted(0, 0);
    }

    [[nodiscard]] bool MayHaveMore() const
    {
        return stream_.MayHaveMore();
    }
    // Whether everything that was read has been handed out.
    [[nodiscard]] bool IsBetweenMessages() const
    {
        return !inBody_ && begin_ == end_;
    }

private:
    [[nodiscard]] EndReason BeginMessage();
    void FillBody();
    void TakeStaged(const iovec& part);
    [[nodiscard]] Step AwaitMore(EndReason& why);
    [[nodiscard]] EndReason Count(size_t bytes, size_t descriptors);
    void SetCounted(size_t bytes, size_t descriptors);

    const Host::IpcLimits& limits_;
    Backlog& backlog_;
    size_t countedBytes_ = 0; // of this lane, in the backlog
    size_t countedDescriptors_ = 0;
    DescriptorStream stream_;
    std::array<uint8_t, 4096> stage_; // bytes begin_ to end_ are read and not yet handed out
    size_t begin_ = 0;
    size_t end_ = 0;

    bool inBody_ = false;
    IncomingMessage message_; // begun, if inBody_
    size_t bodyDone_ = 0;     // bytes of its body that are there
    uint64_t messageEnd_ = 0; // its end, as a position in the stream
};

} // namespace OHOS::Ipc

#endif // PLATFORM_IPC_MESSAGE_READER_H
