#include "message_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace OHOS::Ipc {

DescriptorStream::Fill MessageReader::Receive(int fd, int flags)
{
    if (inBody_ && begin_ == end_) {
        auto parts = message_.BodyFrom(bodyDone_);
        const auto fill = stream_.Receive(fd, parts.data(), parts.size(), flags);
        bodyDone_ += fill == DescriptorStream::Fill::DATA ? stream_.LastRead() : 0;
        return fill;
    }
    std::copy(stage_.begin() + static_cast<ptrdiff_t>(begin_), stage_.begin() + static_cast<ptrdiff_t>(end_),
        stage_.begin()); // less than a head
    end_ -= std::exchange(begin_, 0);
    iovec part = {stage_.data() + end_, stage_.size() - end_};
    const auto fill = stream_.Receive(fd, &part, 1, flags);
    end_ += fill == DescriptorStream::Fill::DATA ? stream_.LastRead() : 0;
    return fill;
}

MessageReader::Step MessageReader::Next(IncomingMessage& message, EndReason& why)
{
    why = EndReason::NONE;
    if (!inBody_) {
        if (end_ - begin_ < sizeof(MessageHead)) {
            why = stream_.Count() > limits_.descriptorsPerMessage ? EndReason::TOO_MANY_DESCRIPTORS : EndReason::NONE;
            return why == EndReason::NONE ? AwaitMore(why) : Step::BROKEN;
        }
        why = BeginMessage();
    }
    FillBody();
    if (why == EndReason::NONE && stream_.CountBefore(messageEnd_) > message_.head.descriptors) {
        why = EndReason::SURPLUS_DESCRIPTORS;
    }
    if (why != EndReason::NONE) {
        return Step::BROKEN;
    }
    if (bodyDone_ < message_.BodySize()) {
        return AwaitMore(why);
    }
    message_.descriptors = stream_.TakeBefore(messageEnd_, message_.head.descriptors);
    message = std::exchange(message_, {});
    inBody_ = false;
    why = Count(0, stream_.Count());
    return why == EndReason::NONE ? Step::MESSAGE : Step::BROKEN;
}

MessageReader::Step MessageReader::AwaitMore(EndReason& why)
{
    why = Count(inBody_ ? message_.BodySize() : 0, stream_.Count());
    return why == EndReason::NONE ? Step::MORE : Step::BROKEN;
}

// Only who has begun more than before has begun too much.
EndReason MessageReader::Count(size_t bytes, size_t descriptors)
{
    const bool grew = bytes > countedBytes_ || descriptors > countedDescriptors_;
    SetCounted(bytes, descriptors);
    if (!grew || (backlog_.bytes <= limits_.unfinishedBytesPerProcess &&
                     backlog_.descriptors <= limits_.unfinishedDescriptorsPerProcess)) {
        return EndReason::NONE;
    }
    Close(); // at once: the others of its process go on
    return EndReason::TOO_MUCH_UNFINISHED;
}

// A message that comes whole, without descriptors, costs nothing here.
void MessageReader::SetCounted(size_t bytes, size_t descriptors)
{
    if (bytes != countedBytes_) {
        backlog_.bytes += bytes - countedBytes_; // modulo 2^64, as the sum is
        countedBytes_ = bytes;
    }
    if (descriptors != countedDescriptors_) {
        backlog_.descriptors += descriptors - countedDescriptors_;
        countedDescriptors_ = descriptors;
    }
}

EndReason MessageReader::BeginMessage()
{
    MessageHead head;
    std::memcpy(&head, stage_.data() + begin_, sizeof(head));
    if (const EndReason wrong = CheckHead(head, limits_); wrong != EndReason::NONE) {
        return wrong;
    }
    if (!message_.Begin(head)) {
        return EndReason::BAD_SIZE;
    }
    messageEnd_ = stream_.Position() - (end_ - begin_) + head.size;
    begin_ += sizeof(head);
    bodyDone_ = 0;
    inBody_ = true;
    return EndReason::NONE;
}

void MessageReader::FillBody()
{
    if (!inBody_) {
        return;
    }
    for (const iovec& part : message_.BodyFrom(bodyDone_)) {
        TakeStaged(part);
    }
}

void MessageReader::TakeStaged(const iovec& part)
{
    const size_t size = std::min(part.iov_len, end_ - begin_);
    if (size > 0) {
        std::memcpy(part.iov_base, stage_.data() + begin_, size);
        begin_ += size;
        bodyDone_ += size;
    }
}

} // namespace OHOS::Ipc
