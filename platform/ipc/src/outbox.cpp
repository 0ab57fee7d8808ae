#include "outbox.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "attachments.h"

namespace OHOS::Ipc {

namespace {

union ControlSpace {
    char bytes[CMSG_SPACE(DESCRIPTORS_PER_SOCKET_MESSAGE * sizeof(int))];
    cmsghdr align;
};

void Attach(msghdr& message, ControlSpace& control, const Host::UniqueFd* descriptors, size_t count)
{
    const size_t size = count * sizeof(int);
    std::memset(&control, 0, CMSG_SPACE(size));
    message.msg_control = control.bytes;
    message.msg_controllen = CMSG_SPACE(size);
    cmsghdr* part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(size);
    for (size_t i = 0; i < count; ++i) {
        const int fd = descriptors[i].Get();
        std::memcpy(CMSG_DATA(part) + i * sizeof(int), &fd, sizeof(fd));
    }
}

Sending::State StateOfError(int error)
{
    switch (error) {
        case EAGAIN:
            return Sending::State::BLOCKED;
        case ETOOMANYREFS:
        case ENOBUFS:
        case ENOMEM:
        case EBADF: // a descriptor that was taken out of the parcel before it was sent
            return Sending::State::REFUSED;
        default:
            return Sending::State::GONE;
    }
}

} // namespace

size_t Sending::Remaining() const
{
    return parts_[0].iov_len + parts_[1].iov_len + parts_[2].iov_len;
}

ssize_t Sending::WriteOnce(int socket)
{
    msghdr message = {};
    message.msg_iov = parts_.data();
    message.msg_iovlen = parts_.size();
    ControlSpace control;
    iovec first = {parts_[0].iov_base, 1};
    const size_t left = descriptors_->size() - descriptorsSent_;
    const size_t now = std::min(left, DESCRIPTORS_PER_SOCKET_MESSAGE);
    if (now > 0) {
        Attach(message, control, descriptors_->data() + descriptorsSent_, now);
    }
    if (now < left) { // one byte each carries those that do not fit; the last piece has the rest of the bytes
        message.msg_iov = &first;
        message.msg_iovlen = 1;
    }
    const ssize_t written = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    descriptorsSent_ += written > 0 ? now : 0;
    return written;
}

void Sending::Advance(size_t written)
{
    begun_ = true;
    for (iovec& part : parts_) {
        const size_t here = std::min(written, part.iov_len);
        part.iov_base = static_cast<uint8_t*>(part.iov_base) + here;
        part.iov_len -= here;
        written -= here;
    }
}

Sending::State Sending::Continue(int socket)
{
    while (Remaining() > 0) {
        const ssize_t written = WriteOnce(socket);
        if (written > 0) {
            Advance(static_cast<size_t>(written));
        } else if (errno != EINTR) {
            return StateOfError(errno);
        }
    }
    return State::SENT;
}

std::vector<uint8_t> Sending::CopyRest() const
{
    std::vector<uint8_t> rest;
    rest.reserve(Remaining());
    for (const iovec& part : parts_) {
        const auto* begin = static_cast<const uint8_t*>(part.iov_base);
        rest.insert(rest.end(), begin, begin + part.iov_len);
    }
    return rest;
}

Baggage Baggage::Of(MessageParcel& parcel, GivenObjects given)
{
    Baggage baggage;
    if (Attachments* attached = ParcelAccess::Attached(parcel); attached != nullptr) {
        baggage.descriptors = std::move(attached->descriptors);
        baggage.objects = std::move(attached->objects);
    }
    baggage.given = std::move(given);
    return baggage;
}

Outbox::Waiting::Waiting(const Sending& rest, Baggage kept)
    : bytes(rest.CopyRest()), baggage(std::move(kept)),
      sending({iovec{bytes.data(), bytes.size()}, iovec{}, iovec{}}, baggage.descriptors)
{
    baggage.descriptors.erase(
        baggage.descriptors.begin(), baggage.descriptors.begin() + static_cast<ptrdiff_t>(rest.DescriptorsSent()));
}

Outbox::~Outbox()
{
    Clear();
}

void Outbox::Clear()
{
    for (const Waiting& one : waiting_) {
        queuedBytes_ -= one.sending.Remaining();
    }
    waiting_.clear();
}

void Outbox::Add(const Sending& rest, Baggage baggage)
{
    queuedBytes_ += rest.Remaining();
    waiting_.emplace_back(rest, std::move(baggage));
}

Sending::State Outbox::Flush(int socket, std::vector<Baggage>& delivered)
{
    while (!waiting_.empty()) {
        Waiting& first = waiting_.front();
        const size_t before = first.sending.Remaining();
        const Sending::State state = first.sending.Continue(socket);
        queuedBytes_ -= before - first.sending.Remaining();
        if (state != Sending::State::SENT) {
            return state;
        }
        delivered.push_back(std::move(first.baggage));
        waiting_.pop_front();
    }
    return Sending::State::SENT;
}

} // namespace OHOS::Ipc
