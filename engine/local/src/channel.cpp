#include "channel.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace OHOS::Pelago::Local {
namespace {

constexpr size_t READ_BYTES = size_t{64} * 1024;
constexpr size_t MOST_DESCRIPTORS = 253; // what the kernel can put into one message

} // namespace

std::shared_ptr<Channel> Channel::Open(ControlLoop& loop, Host::UniqueFd socket, int64_t unreadLimitMs)
{
    std::shared_ptr<Channel> channel(new Channel(loop, std::move(socket), unreadLimitMs));
    channel->watch_ =
        loop.Watch(channel->socket_.Get(), EPOLLIN, [self = channel.get()](uint32_t events) { self->OnReady(events); });
    return channel->watch_ == 0 ? nullptr : channel;
}

Channel::~Channel()
{
    Close();
}

void Channel::SetHandlers(FrameHandler onFrame, EndHandler onEnd)
{
    onFrame_ = std::move(onFrame);
    onEnd_ = std::move(onEnd);
}

void Channel::Send(FrameType type, std::string_view body, Host::UniqueFd fd)
{
    if (!IsOpen() || finishing_) {
        return;
    }
    out_.push_back({MakeFrame(type, body), 0, std::move(fd)});
    Flush();
}

void Channel::Finish()
{
    SetHandlers(nullptr, nullptr);
    finishing_ = true;
    loop_.CancelTimer(unread_); // CLOSE_LIMIT_MS holds from here on
    if (out_.empty() || !IsOpen()) {
        Close();
        return;
    }
    lingering_ = loop_.After(CLOSE_LIMIT_MS, [self = shared_from_this()] { self->Close(); });
    UpdateEvents();
}

void Channel::Close()
{
    loop_.Forget(std::exchange(watch_, 0));
    loop_.CancelTimer(unfinished_);
    loop_.CancelTimer(unread_);
    socket_.Reset();
    inFd_.Reset();
    out_.clear();
    loop_.CancelTimer(lingering_); // last: it may hold the last reference
}

void Channel::OnReady(uint32_t events)
{
    auto self = shared_from_this(); // handlers may let go of it
    if ((events & EPOLLOUT) != 0) {
        Flush();
    }
    if (IsOpen() && !finishing_ && (events & ~static_cast<uint32_t>(EPOLLOUT)) != 0 && Read()) {
        TakeFrames();
    } else if (IsOpen() && finishing_ && (events & (EPOLLHUP | EPOLLERR)) != 0) {
        Close();
    }
}

bool Channel::Read()
{
    std::array<char, READ_BYTES> bytes;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(MOST_DESCRIPTORS * sizeof(int))> control;
    iovec part{bytes.data(), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    ssize_t count = ::recvmsg(socket_.Get(), &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (count <= 0) {
        End(nullptr);
        return false;
    }
    if (!TakeDescriptors(message)) {
        End("sent more descriptors than a frame has");
        return false;
    }
    in_.append(bytes.data(), static_cast<size_t>(count));
    return true;
}

// All of them are taken out, since each one that is not is lost for good.
bool Channel::TakeDescriptors(const msghdr& message)
{
    bool fits = true;
    for (cmsghdr* head = CMSG_FIRSTHDR(&message); head != nullptr;
         head = CMSG_NXTHDR(const_cast<msghdr*>(&message), head)) {
        if (head->cmsg_level != SOL_SOCKET || head->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        size_t count = (head->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd = -1;
            std::memcpy(&fd, CMSG_DATA(head) + i * sizeof(int), sizeof(int));
            Host::UniqueFd owned(fd);
            fits = fits && !inFd_;
            if (fits) {
                inFd_ = std::move(owned);
            }
        }
    }
    return fits;
}

void Channel::TakeFrames()
{
    size_t taken = 0;
    while (IsOpen() && onFrame_ && in_.size() - taken >= FRAME_HEADER_BYTES) {
        std::string_view rest = std::string_view(in_).substr(taken);
        auto header = ReadFrameHeader(rest);
        if (!header.has_value()) {
            End("sent bytes that are no frame");
            return;
        }
        if (rest.size() < FRAME_HEADER_BYTES + header->length) {
            break;
        }
        std::string body(rest.substr(FRAME_HEADER_BYTES, header->length));
        taken += FRAME_HEADER_BYTES + header->length;
        auto handler = onFrame_; // it may replace itself
        // Frames that stand before the one with the descriptor may have come in the same read.
        bool carries = header->type == FrameType::ACCEPT;
        handler(header->type, body, carries ? std::exchange(inFd_, Host::UniqueFd()) : Host::UniqueFd());
    }
    in_.erase(0, taken);
    if (IsOpen() && !finishing_ && in_.empty() && inFd_) {
        End("sent a descriptor that no frame carries");
        return;
    }
    if (taken > 0) {
        loop_.CancelTimer(unfinished_); // it was for a frame that is whole by now
    }
    GuardUnfinished();
}

void Channel::GuardUnfinished()
{
    if (!IsOpen() || in_.empty()) {
        loop_.CancelTimer(unfinished_);
    } else if (unfinished_ == 0) {
        unfinished_ = loop_.After(UNFINISHED_FRAME_MS, [this] {
            unfinished_ = 0;
            End("left a frame unfinished");
        });
    }
}

// A peer that reads nothing would have what is told to it pile up here.
void Channel::GuardUnread(bool tookSome)
{
    if (tookSome || out_.empty()) {
        loop_.CancelTimer(unread_);
    }
    if (IsOpen() && !out_.empty() && !finishing_ && unread_ == 0) {
        unread_ = loop_.After(unreadLimitMs_, [this] {
            unread_ = 0;
            End("reads nothing");
        });
    }
}

void Channel::Flush()
{
    bool tookSome = false;
    while (IsOpen() && !out_.empty() && WriteSome(out_.front())) {
        tookSome = true;
        out_.pop_front();
    }
    GuardUnread(tookSome);
    if (IsOpen() && out_.empty() && finishing_) {
        Close();
        return;
    }
    UpdateEvents();
}

// True when there is nothing more to write of the message. A connection that takes no more is noticed by reading, after
// what the peer has said last.
bool Channel::WriteSome(Outgoing& message)
{
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    iovec part{message.bytes.data() + message.written, message.bytes.size() - message.written};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (message.fd) {
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        cmsghdr* head = CMSG_FIRSTHDR(&header);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(sizeof(int));
        int fd = message.fd.Get();
        std::memcpy(CMSG_DATA(head), &fd, sizeof(fd));
    }
    ssize_t count = ::sendmsg(socket_.Get(), &header, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (count < 0) {
        (void)::shutdown(socket_.Get(), SHUT_RDWR); // half a frame is no frame; fails where the peer has gone
        return true;
    }
    message.fd.Reset(); // went with the first byte
    message.written += static_cast<size_t>(count);
    return message.written == message.bytes.size();
}

void Channel::End(const char* why)
{
    auto self = shared_from_this();
    auto handler = std::move(onEnd_);
    SetHandlers(nullptr, nullptr);
    Close();
    if (handler) {
        handler(why);
    }
}

void Channel::UpdateEvents()
{
    if (IsOpen()) {
        uint32_t reading = finishing_ ? 0U : static_cast<uint32_t>(EPOLLIN);
        loop_.Change(watch_, reading | (out_.empty() ? 0U : static_cast<uint32_t>(EPOLLOUT)));
    }
}

} // namespace OHOS::Pelago::Local
