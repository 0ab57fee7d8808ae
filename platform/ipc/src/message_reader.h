#ifndef PLATFORM_IPC_MESSAGE_READER_H
#define PLATFORM_IPC_MESSAGE_READER_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "descriptor_stream.h"
#include "message.h"

namespace OHOS::Ipc {

// Makes messages of what comes over one lane. A small message is read whole with what follows it; the rest of a big one
// goes straight to where it will stay. Owned by the lane; one thread at a time. Never waits by itself.
class MessageReader {
public:
    enum class Step {
        MESSAGE, // one is whole
        MORE,    // Receive first
        BROKEN,  // the peer broke the rules; the lane is of no use any more
    };

    // `limits` outlive the reader.
    explicit MessageReader(const Host::IpcLimits& limits) : limits_(limits)
    {}

    // Reads once.
    [[nodiscard]] DescriptorStream::Fill Receive(int fd, int flags);
    // The next message of those read so far, or what is wrong in `why`.
    [[nodiscard]] Step Next(IncomingMessage& message, EndReason& why);

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

    const Host::IpcLimits& limits_;
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
